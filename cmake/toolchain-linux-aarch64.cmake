# 64-bit ARM Linux (Debian: g++-aarch64-linux-gnu). Debian's cross compilers
# keep their libraries under /usr/<triple>; programs built here (tests, test
# discovery) run under qemu-user, told that root with -L.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
set(CMAKE_FIND_ROOT_PATH /usr/aarch64-linux-gnu)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
find_program(NETLOOM_QEMU qemu-aarch64)
if(NETLOOM_QEMU)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${NETLOOM_QEMU} -L /usr/aarch64-linux-gnu)
endif()
