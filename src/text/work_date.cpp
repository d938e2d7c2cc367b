#include "text/work_date.h"

#include "export.h"
#include "platform/system.h"

namespace tarn {
namespace {

struct WorkDateState {
    int32_t date = 0;  // YYYYMMDD
};

WorkDateState &state() {
    static WorkDateState s;
    return s;
}

}  // namespace

int32_t reset_work_date() {
    int y, m, d;
    plat::local_date(&y, &m, &d);
    state().date = y * 10000 + m * 100 + d;
    return state().date;
}

}  // namespace tarn

TARN_API int32_t TARN_CALL ld_Today(void) { return tarn::state().date; }

TARN_API int32_t TARN_CALL ld_SetWorkDate(int32_t d) {
    tarn::state().date = d;
    return d;
}

TARN_API int32_t TARN_CALL ld_ResetWorkDate(void) { return tarn::reset_work_date(); }
