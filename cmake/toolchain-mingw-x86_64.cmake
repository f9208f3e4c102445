# Windows x86-64 with MinGW-w64 (Debian: g++-mingw-w64-x86-64). The default
# compiler uses the win32 thread model; set NETLOOM_MINGW_CXX to pick another
# flavour, for example x86_64-w64-mingw32-g++-posix.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR AMD64)
set(NETLOOM_MINGW_TRIPLE x86_64-w64-mingw32)
include(${CMAKE_CURRENT_LIST_DIR}/mingw-common.cmake)
