#include "system/system_state.h"

namespace tarn::system {

SystemState &system_state() {
    static SystemState state;
    return state;
}

}  // namespace tarn::system
