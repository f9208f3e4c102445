# Shared part of the MinGW-w64 toolchain files: compilers named by triple,
# libraries and headers from the cross root only, programs from the build machine.
if(NOT NETLOOM_MINGW_CXX)
  set(NETLOOM_MINGW_CXX ${NETLOOM_MINGW_TRIPLE}-g++)
endif()
set(CMAKE_CXX_COMPILER ${NETLOOM_MINGW_CXX})
set(CMAKE_RC_COMPILER ${NETLOOM_MINGW_TRIPLE}-windres)
set(CMAKE_FIND_ROOT_PATH /usr/${NETLOOM_MINGW_TRIPLE})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
# Programs built here run under wine when it is installed (tests, discovery).
find_program(NETLOOM_WINE wine)
if(NETLOOM_WINE)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${NETLOOM_WINE})
endif()
