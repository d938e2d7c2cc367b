#include "../commands.h"

namespace tarn_tool {

void set_binary_stdio() {}  // streams carry bytes unchanged here

}  // namespace tarn_tool
