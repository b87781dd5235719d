# SPDX-License-Identifier: GPL-3.0-or-later
# What goes to hosts is linked against the C library as it was at TRX_OLDEST_LIBC: stand-ins made from this
# machine's own (make-stubs), and a few functions of ours for what it lacked. docs/install.md tells why.
set(TRX_OLDEST_LIBC GLIBC_2.17 CACHE STRING "the oldest C library that the programs run on; empty: this machine's")

set(floorDirectory ${CMAKE_CURRENT_LIST_DIR})
# The sanitizers' own libraries need this machine's.
if(TRX_OLDEST_LIBC AND NOT TRX_SANITIZE)
  set(TRX_FLOOR_STUBS ${PROJECT_BINARY_DIR}/floor/${TRX_OLDEST_LIBC})
endif()

if(TRX_FLOOR_STUBS)
  set(without "-DTRX_OLDEST_LIBC= builds for this machine's C library only")
  if(NOT TRX_OLDEST_LIBC MATCHES "^GLIBC_2(\\.[0-9]+)+$")
    message(FATAL_ERROR "TRX_OLDEST_LIBC: '${TRX_OLDEST_LIBC}' is no version such as GLIBC_2.17; ${without}")
  endif()
  find_program(TRX_AWK awk)
  foreach(tool CMAKE_READELF TRX_AWK)
    if(NOT ${tool})
      message(FATAL_ERROR "TRX_OLDEST_LIBC needs readelf and awk, and ${tool} is not found; ${without}")
    endif()
  endforeach()
  execute_process(COMMAND ${CMAKE_C_COMPILER} -print-file-name=libc.so.6
                  OUTPUT_VARIABLE libc OUTPUT_STRIP_TRAILING_WHITESPACE)
  set(made ${TRX_FLOOR_STUBS}/libc.so) # the last file that is written
  if(${floorDirectory}/make-stubs IS_NEWER_THAN ${made} OR ${libc} IS_NEWER_THAN ${made})
    execute_process(COMMAND ${floorDirectory}/make-stubs ${TRX_OLDEST_LIBC} ${TRX_FLOOR_STUBS}
                            ${CMAKE_C_COMPILER} ${CMAKE_READELF}
                    RESULT_VARIABLE failed)
    if(failed)
      message(FATAL_ERROR "TRX_OLDEST_LIBC: no stand-ins for ${TRX_OLDEST_LIBC}; ${without}")
    endif()
  endif()
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${floorDirectory}/make-stubs)

  file(GLOB fillers ${floorDirectory}/*.c)
  add_library(trx_floor STATIC ${fillers})
  target_link_libraries(trx_floor PRIVATE trx_flags)
  target_compile_options(trx_floor PRIVATE -ffunction-sections)
  # libc.so names it, so that the compiler's own libraries, which come last, find it too.
  set_target_properties(trx_floor PROPERTIES C_VISIBILITY_PRESET hidden ARCHIVE_OUTPUT_DIRECTORY ${TRX_FLOOR_STUBS})
endif()

# Links a program or a shared object that goes to hosts: it needs nothing of them but the C library.
function(trx_for_host target)
  get_target_property(type ${target} TYPE)
  target_link_options(${target} PRIVATE -static-libstdc++ -static-libgcc)
  if(type STREQUAL "SHARED_LIBRARY")
    target_link_options(${target} PRIVATE -Wl,--exclude-libs,ALL)
  endif()
  if(TRX_FLOOR_STUBS)
    # Sections that nothing uses would ask for what the old library lacked (std::random_device).
    # A shared object may have undefined symbols, unless told otherwise.
    target_link_options(${target} PRIVATE -L${TRX_FLOOR_STUBS} -Wl,--gc-sections -Wl,--as-needed -Wl,-z,defs
                        -Wl,--wrap=__libc_start_main)
    # The loader looks a name up in the order of the libraries: the one that has most of them comes first.
    target_link_libraries(${target} PRIVATE trx_floor -Wl,-lc)
    set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${TRX_FLOOR_STUBS}/libc.so)
  endif()
endfunction()
