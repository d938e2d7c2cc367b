// The process-wide work date: the date number that stands for "today" in the applications.
#pragma once
#include <cstdint>

namespace tarn {

int32_t reset_work_date();  // sets the work date to the current local date and returns it

}  // namespace tarn
