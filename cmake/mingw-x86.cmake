# Windows x86 from Linux; see mingw-x64.cmake.
set(TOLVANE_MINGW_TRIPLE i686-w64-mingw32)
include(${CMAKE_CURRENT_LIST_DIR}/mingw-common.cmake)
