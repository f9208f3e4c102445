# 32-bit x86 Linux (Debian: g++-i686-linux-gnu). Its default is x87 arithmetic;
# the build switches the library to SSE2 (cmake/NetloomPlatform.cmake).
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR i686)
set(NETLOOM_CROSS_TRIPLE i686-linux-gnu)
set(NETLOOM_CROSS_QEMU qemu-i386)
include(${CMAKE_CURRENT_LIST_DIR}/linux-cross-common.cmake)
