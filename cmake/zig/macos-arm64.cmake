# macOS on Apple silicon, built with Zig.
set(CMAKE_SYSTEM_PROCESSOR arm64)
set(QUELLMARK_ZIG_TARGET aarch64-macos)
include("${CMAKE_CURRENT_LIST_DIR}/macos.cmake")
