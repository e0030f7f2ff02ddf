# macOS on Intel, built with Zig.
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(QUELLMARK_ZIG_TARGET x86_64-macos)
include("${CMAKE_CURRENT_LIST_DIR}/macos.cmake")
