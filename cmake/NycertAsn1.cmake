# Generated ASN.1 codecs. The compiler in asn1/compiler turns each module
# source <name>.asn1 into <name>.h and <name>.cc at build time; editing a
# module or the compiler regenerates them.
find_package(Python3 3.9 REQUIRED COMPONENTS Interpreter)

set(NYCERT_ASN1_COMPILER ${PROJECT_SOURCE_DIR}/asn1/compiler/genasn1.py)
file(GLOB NYCERT_ASN1_COMPILER_SOURCES CONFIGURE_DEPENDS
  ${NYCERT_ASN1_COMPILER} ${PROJECT_SOURCE_DIR}/asn1/compiler/nyasn1/*.py)

# nycert_asn1_generate(<var> OUT_DIR <dir> INCLUDE_PREFIX <prefix> MODULES <file>...
#                      [IMPORTS <file>... IMPORT_PREFIX <prefix>])
# Generates the MODULES into OUT_DIR, whose headers are included as
# "<prefix>/<name>.h". IMPORTS are modules generated elsewhere (under
# IMPORT_PREFIX) that the MODULES import from. Sets <var>_SOURCES and
# <var>_HEADERS.
function(nycert_asn1_generate var)
  cmake_parse_arguments(ARG "" "OUT_DIR;INCLUDE_PREFIX;IMPORT_PREFIX" "MODULES;IMPORTS" ${ARGN})
  set(sources)
  set(headers)
  foreach(module IN LISTS ARG_MODULES)
    get_filename_component(name ${module} NAME_WE)
    list(APPEND headers ${ARG_OUT_DIR}/${name}.h)
    list(APPEND sources ${ARG_OUT_DIR}/${name}.cc)
  endforeach()
  set(import_args)
  foreach(module IN LISTS ARG_IMPORTS)
    list(APPEND import_args --import ${module})
  endforeach()
  if(ARG_IMPORT_PREFIX)
    list(APPEND import_args --import-prefix ${ARG_IMPORT_PREFIX})
  endif()
  add_custom_command(
    OUTPUT ${headers} ${sources}
    COMMAND ${Python3_EXECUTABLE} -B ${NYCERT_ASN1_COMPILER} --out-dir ${ARG_OUT_DIR}
            --include-prefix ${ARG_INCLUDE_PREFIX} ${import_args} ${ARG_MODULES}
    DEPENDS ${NYCERT_ASN1_COMPILER_SOURCES} ${ARG_MODULES} ${ARG_IMPORTS}
    COMMENT "Generating ASN.1 codecs under ${ARG_INCLUDE_PREFIX}"
    VERBATIM)
  set(${var}_SOURCES ${sources} PARENT_SCOPE)
  set(${var}_HEADERS ${headers} PARENT_SCOPE)
endfunction()
