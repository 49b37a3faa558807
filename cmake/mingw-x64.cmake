# Windows x64 from Linux. The -posix flavour is needed: the default one has no std::mutex.
set(TOLVANE_MINGW_TRIPLE x86_64-w64-mingw32)
include(${CMAKE_CURRENT_LIST_DIR}/mingw-common.cmake)
