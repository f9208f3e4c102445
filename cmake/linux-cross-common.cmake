# Shared part of the Linux cross toolchain files: Debian's cross compilers keep
# their libraries under /usr/<triple>, which qemu-user is told with -L.
set(CMAKE_CXX_COMPILER ${NETLOOM_CROSS_TRIPLE}-g++)
set(CMAKE_FIND_ROOT_PATH /usr/${NETLOOM_CROSS_TRIPLE})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
find_program(NETLOOM_QEMU ${NETLOOM_CROSS_QEMU})
if(NETLOOM_QEMU)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${NETLOOM_QEMU} -L /usr/${NETLOOM_CROSS_TRIPLE})
endif()
