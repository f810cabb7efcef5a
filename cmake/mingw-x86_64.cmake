# Windows x86-64, with Debian's mingw-w64. The variant with POSIX threads has std::thread, which the tests use.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(target x86_64-w64-mingw32)
set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/run-wine ${CMAKE_BINARY_DIR}/wine)
include(${CMAKE_CURRENT_LIST_DIR}/mingw.cmake)
