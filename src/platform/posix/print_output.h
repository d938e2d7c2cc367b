// Where printed documents go on Linux: PDF files in the print folder, CUPS jobs.
#pragma once
#include <string>

#include "tarn_types.h"

namespace plat {

// A new file in the print folder ($TARNGDI_PRINT_DIR, else $TARNGDI_HOME/print) named after the
// document: characters that cannot stand in a file name become "_", and " (2)", " (3)", ... keep
// an existing file; "" when the folder cannot be made.
std::string pdf_file_for(const std::string &title);
// A new temporary file for a document on its way to CUPS printer `printer`.
std::string spool_file_for(const std::string &printer);
// Submits the PDF file as one job to CUPS printer `printer` with the settings of `mode`
// (copies, duplex, paper size and orientation); false when CUPS refuses it.
bool submit_to_cups(const std::string &printer, const std::string &path, const std::string &title,
                    const DEVMODEA *mode);

}  // namespace plat
