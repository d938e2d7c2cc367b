#include "lib/base_state.h"

namespace tarn {

BaseState &base() {
    // Constructed on first use so that the loader entry may run before other static objects.
    static BaseState state;
    return state;
}

HINSTANCE module_instance() { return base().instance; }
void set_module_instance(HINSTANCE instance) { base().instance = instance; }

}  // namespace tarn
