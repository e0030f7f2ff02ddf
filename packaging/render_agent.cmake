# Renders the agent's template with the installed binary's absolute path, quoted for the file it
# goes into. Run by `cmake --install`, where CMAKE_INSTALL_PREFIX is this installation's prefix.
if(IS_ABSOLUTE "${QUELLMARK_BINDIR}")
  set(binary "${QUELLMARK_BINDIR}/quellmark")
else()
  get_filename_component(binary "${CMAKE_INSTALL_PREFIX}/${QUELLMARK_BINDIR}/quellmark" ABSOLUTE
                         BASE_DIR "$ENV{PWD}")
endif()
if(binary MATCHES "[\n\r]")
  message(FATAL_ERROR "the agent cannot name a binary whose path holds a line break: ${binary}")
endif()

# In a property list, the path is XML text.
string(REPLACE "&" "&amp;" QUELLMARK_BINARY_XML "${binary}")
string(REPLACE "<" "&lt;" QUELLMARK_BINARY_XML "${QUELLMARK_BINARY_XML}")
string(REPLACE ">" "&gt;" QUELLMARK_BINARY_XML "${QUELLMARK_BINARY_XML}")

# In a systemd unit, it is the command's first word, double-quoted, in which \ and " are
# escaped and % starts a specifier (variables are not expanded in it).
string(REPLACE "\\" "\\\\" QUELLMARK_BINARY_UNIT "${binary}")
string(REPLACE "\"" "\\\"" QUELLMARK_BINARY_UNIT "${QUELLMARK_BINARY_UNIT}")
string(REPLACE "%" "%%" QUELLMARK_BINARY_UNIT "${QUELLMARK_BINARY_UNIT}")
set(QUELLMARK_BINARY_UNIT "\"${QUELLMARK_BINARY_UNIT}\"")

configure_file("${QUELLMARK_AGENT_TEMPLATE}" "${QUELLMARK_AGENT_RENDERED}" @ONLY)
