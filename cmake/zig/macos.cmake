# Cross-builds for macOS with the Zig toolchain that cmake/zig/fetch unpacks: `zig c++` (clang
# with macOS system headers and libc++) as the compiler, `zig ar` and `zig ranlib` for the
# library. The including file sets QUELLMARK_ZIG_TARGET and CMAKE_SYSTEM_PROCESSOR.
set(CMAKE_SYSTEM_NAME Darwin)

get_filename_component(quellmark_zig "${CMAKE_CURRENT_LIST_DIR}/../../.cache/zig-0.11.0/zig"
                       ABSOLUTE)
if(NOT EXISTS "${quellmark_zig}")
  message(FATAL_ERROR "no Zig toolchain at ${quellmark_zig}: run cmake/zig/fetch first")
endif()

# CMake runs each tool as one program, so each is a small script that calls zig with its
# subcommand. The compiler's also names the target and drops -Wl,-v, which CMake passes when it
# probes the compiler and zig's linker refuses.
get_filename_component(quellmark_zig_tools
                       "${quellmark_zig}/../../zig-tools/${QUELLMARK_ZIG_TARGET}" ABSOLUTE)
file(CONFIGURE OUTPUT "${quellmark_zig_tools}/c++" @ONLY CONTENT [=[#!/bin/sh
for argument do
  shift
  [ "$argument" = -Wl,-v ] || set -- "$@" "$argument"
done
exec "@quellmark_zig@" c++ -target @QUELLMARK_ZIG_TARGET@ "$@"
]=])
foreach(tool ar ranlib)
  file(CONFIGURE OUTPUT "${quellmark_zig_tools}/${tool}" @ONLY CONTENT [=[#!/bin/sh
exec "@quellmark_zig@" @tool@ "$@"
]=])
endforeach()
file(CHMOD "${quellmark_zig_tools}/c++" "${quellmark_zig_tools}/ar" "${quellmark_zig_tools}/ranlib"
     PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ
     WORLD_EXECUTE)

set(CMAKE_CXX_COMPILER "${quellmark_zig_tools}/c++")
set(CMAKE_AR "${quellmark_zig_tools}/ar" CACHE FILEPATH "")
set(CMAKE_RANLIB "${quellmark_zig_tools}/ranlib" CACHE FILEPATH "")

# Nothing of the build machine's own libraries or headers may leak into a macOS build.
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
