# 32-bit Windows with MinGW-w64 (Debian: g++-mingw-w64-i686): the DLL a 32-bit
# host loads. Set NETLOOM_MINGW_CXX to pick another compiler flavour.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR X86)
set(NETLOOM_MINGW_TRIPLE i686-w64-mingw32)
include(${CMAKE_CURRENT_LIST_DIR}/mingw-common.cmake)
