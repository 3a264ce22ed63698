# Echo-sounding correction tables (Carter's tables), generated at build time
# from the published digital edition carried by GMT (Debian package
# gmt-common, LGPL-3.0-or-later): only the numbers are taken, into two signed
# 16-bit tables (tools/carter_tables.py documents the layout).
find_file(KESTREL_CARTER_FILE carter.d
  PATHS /usr/share/gmt /usr/share/gmt6 /usr/local/share/gmt /opt/homebrew/share/gmt
  PATH_SUFFIXES mgg
  NO_CMAKE_FIND_ROOT_PATH
  DOC "carter.d, the echo-sounding correction tables distributed with GMT (Debian package gmt-common)")
if(NOT KESTREL_CARTER_FILE OR NOT EXISTS "${KESTREL_CARTER_FILE}")
  message(FATAL_ERROR
    "Echo-sounding correction tables: carter.d not found.\n"
    "Install the Debian package gmt-common (it provides /usr/share/gmt/mgg/carter.d), "
    "or pass -DKESTREL_CARTER_FILE=/path/to/carter.d.")
endif()
find_package(Python3 COMPONENTS Interpreter REQUIRED)

set(_carter_out "${CMAKE_BINARY_DIR}/generated/ocean/carter_tables.cpp")
add_custom_command(
  OUTPUT "${_carter_out}"
  COMMAND "${CMAKE_COMMAND}" -E make_directory "${CMAKE_BINARY_DIR}/generated/ocean"
  COMMAND "${Python3_EXECUTABLE}" "${CMAKE_SOURCE_DIR}/tools/carter_tables.py"
          "${KESTREL_CARTER_FILE}" "${_carter_out}"
  DEPENDS "${KESTREL_CARTER_FILE}" "${CMAKE_SOURCE_DIR}/tools/carter_tables.py"
  COMMENT "Generating the echo-sounding correction tables from ${KESTREL_CARTER_FILE}"
  VERBATIM)
list(APPEND KESTREL_GENERATED_SOURCES "${_carter_out}")
