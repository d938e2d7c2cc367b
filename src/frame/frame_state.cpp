#include "frame/frame_state.h"

namespace tarn {

FrameState &frame() {
    // Constructed on first use so that the loader entry may run before other static objects.
    static FrameState state;
    return state;
}

}  // namespace tarn
