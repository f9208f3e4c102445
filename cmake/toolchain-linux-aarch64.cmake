# 64-bit ARM Linux (Debian: g++-aarch64-linux-gnu); programs run under qemu-user.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(NETLOOM_CROSS_TRIPLE aarch64-linux-gnu)
set(NETLOOM_CROSS_QEMU qemu-aarch64)
include(${CMAKE_CURRENT_LIST_DIR}/linux-cross-common.cmake)
