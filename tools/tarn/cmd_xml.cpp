// tarn gaeb2xml, xml2gaeb and xml: GAEB 2000 bracket files and XML documents through the
// library's readers and writers, with a progress bar on a terminal.
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "commands.h"
#include "tarngdi32.h"
#include "progress_bar.h"

namespace tarn_tool {
namespace {

struct TreeOwner {
    XML_Node *root;
    ~TreeOwner() { koXML_ReleaseTreeEx(root); }
};

enum class XmlForm { Detect, Plain, Compatible };

// Our plain form declares no encoding and escapes every blank, so it is read dropping raw white
// space; a declared encoding marks the compatible form, read keeping it.
XmlForm detect_form(const std::string &path) {
    char head[200] = {};
    if (FILE *f = std::fopen(path.c_str(), "rb")) {
        const size_t n = std::fread(head, 1, sizeof head - 1, f);
        head[n] = 0;
        std::fclose(f);
    }
    const char *end = std::strstr(head, "?>");
    const char *encoding = std::strstr(head, "encoding=");
    return encoding && (!end || encoding < end) ? XmlForm::Compatible : XmlForm::Plain;
}

XML_Node *read_xml(const std::string &path, XmlForm form) {
    if (form == XmlForm::Detect) form = detect_form(path);
    ProgressBar bar;
    return form == XmlForm::Compatible ? koXML_CreateTreeExKompatible(path.c_str())
                                       : koXML_CreateTreeEx(path.c_str());
}

// Fields of the bracket form are nodes other than elements: leaf elements with a text become
// fields, so that their texts are written.
void leaves_to_fields(XML_Node *node) {
    for (XML_Node *c = koXML_GetFirstChild(node); c; c = koXML_GetNext(c)) {
        if (koXML_GetFirstChild(c)) {
            leaves_to_fields(c);
            continue;
        }
        char first[2];
        if (koXML_GetType(c) == TARN_XML_ELEMENT && koXML_GetValue(c, first, sizeof first) &&
            first[0])
            koXML_SetType(c, TARN_XML_ATTRIBUTE);
    }
}

bool parse_form_option(const std::string &arg, XmlForm *form) {
    if (arg == "--plain") *form = XmlForm::Plain;
    else if (arg == "--compatible") *form = XmlForm::Compatible;
    else return false;
    return true;
}

// IN OUT and at most one form option, in any order.
bool split_args(const Args &args, std::string *in, std::string *out, XmlForm *form,
                std::string *error) {
    std::vector<std::string> files;
    bool haveForm = false;
    for (const std::string &a : args) {
        if (a.size() > 1 && a[0] == '-' && a[1] == '-') {
            if (haveForm || !parse_form_option(a, form)) {
                *error = "unexpected option " + a;
                return false;
            }
            haveForm = true;
        } else {
            files.push_back(a);
        }
    }
    if (files.size() != 2) {
        *error = "expected IN and OUT";
        return false;
    }
    *in = files[0];
    *out = files[1];
    return true;
}

int saved(int32_t result, const std::string &out) {
    if (result) return kOk;
    std::fprintf(stderr, "tarn: cannot write %s\n", out.c_str());
    return kFailure;
}

}  // namespace

int run_gaeb2xml(const Args &args) {
    std::string in, out, error;
    XmlForm form = XmlForm::Compatible;
    if (!split_args(args, &in, &out, &form, &error)) return usage_error(command("gaeb2xml"), error);
    TreeOwner tree{nullptr};
    {
        ProgressBar bar;
        tree.root = koXML_CreateTreeExFromGAEB2K(in.c_str());
    }
    if (!tree.root) {
        std::fprintf(stderr, "tarn: cannot read %s\n", in.c_str());
        return kFailure;
    }
    if (!koXML_GetFirstChild(tree.root)) {
        std::fprintf(stderr,
                     "tarn: %s is not a GAEB 2000 file (no \"#begin[GAEB]\" at its start)\n",
                     in.c_str());
        return kFailure;
    }
    return saved(form == XmlForm::Plain ? koXML_SaveTreeToFile(tree.root, out.c_str())
                                        : koXML_SaveTreeToFileKompatible(tree.root, out.c_str()),
                 out);
}

int run_xml2gaeb(const Args &args) {
    std::string in, out, error;
    XmlForm form = XmlForm::Detect;
    if (!split_args(args, &in, &out, &form, &error)) return usage_error(command("xml2gaeb"), error);
    TreeOwner tree{read_xml(in, form)};
    if (!tree.root) {
        std::fprintf(stderr,
                     "tarn: %s is not an XML file (it must begin with \"<?xml version=\")\n",
                     in.c_str());
        return kFailure;
    }
    if (std::strcmp(koXML_GetName(tree.root), "GAEB") != 0)
        std::fprintf(stderr, "tarn: warning: the root element is %s; GAEB readers expect GAEB\n",
                     koXML_GetName(tree.root));
    leaves_to_fields(tree.root);
    return saved(koXML_SaveTreeToGAEB2K(tree.root, out.c_str()), out);
}

int run_xml(const Args &args) {
    std::string in, out, error;
    XmlForm form = XmlForm::Detect;
    if (!split_args(args, &in, &out, &form, &error)) return usage_error(command("xml"), error);
    if (form == XmlForm::Detect) return usage_error(command("xml"), "say --compatible or --plain");
    TreeOwner tree{read_xml(in, XmlForm::Detect)};
    if (!tree.root) {
        std::fprintf(stderr,
                     "tarn: %s is not an XML file (it must begin with \"<?xml version=\")\n",
                     in.c_str());
        return kFailure;
    }
    return saved(form == XmlForm::Plain ? koXML_SaveTreeToFile(tree.root, out.c_str())
                                        : koXML_SaveTreeToFileKompatible(tree.root, out.c_str()),
                 out);
}

}  // namespace tarn_tool
