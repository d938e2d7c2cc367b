# Cross build with mingw-w64 (i686), posix thread model so std::thread works.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR i686)
set(CMAKE_C_COMPILER   i686-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER i686-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER  i686-w64-mingw32-windres)
set(CMAKE_DLLTOOL      i686-w64-mingw32-dlltool)
set(CMAKE_NM           i686-w64-mingw32-nm)
set(CMAKE_FIND_ROOT_PATH /usr/i686-w64-mingw32)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
# SSE2 arithmetic: doubles are computed exactly as in the 64-bit build that the tests run.
set(CMAKE_C_FLAGS_INIT "-msse2 -mfpmath=sse")
set(CMAKE_CXX_FLAGS_INIT "-msse2 -mfpmath=sse")
# The 32-bit loader of Debian's wine32:i386: on a 64-bit prefix it runs the DLL as a 32-bit
# process on 64-bit Windows, the applications' own setting.
set(CMAKE_CROSSCOMPILING_EMULATOR /usr/lib/wine/wine)
