#include <fcntl.h>
#include <io.h>
#include <cstdio>

#include "../commands.h"

namespace tarn_tool {

void set_binary_stdio() {
    _setmode(_fileno(stdin), _O_BINARY);
    _setmode(_fileno(stdout), _O_BINARY);
}

}  // namespace tarn_tool
