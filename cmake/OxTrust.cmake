# Makes C++ tables of a folder of certificates; a program that links them trusts these certificates. CMake alone writes
# them, so this works when compiling for another machine, too, and the compiler compares the fingerprints.

set(OX_TRUST_FOLDER "${PROJECT_SOURCE_DIR}/Trust" CACHE PATH "Folder of the certificates that Converter trusts")

# Sets `result` to the lines of the one PEM certificate in `folder`/`name`, as string literals without the last line
# end.
function(ox_read_certificate result folder name)
  set(text "")
  if(EXISTS "${folder}/${name}")
    file(READ "${folder}/${name}" text)
  endif()
  string(REGEX MATCHALL "-----BEGIN CERTIFICATE-----[^-]*-----END CERTIFICATE-----" certificates "${text}")
  list(LENGTH certificates count)
  if(NOT count EQUAL 1)
    message(FATAL_ERROR "The trust folder ${folder} cannot be used:\n${name} holds ${count} PEM certificates, not one")
  endif()
  string(REGEX REPLACE "[ \t\r]*\n" "\\\\n\"\n    \"" certificates "${certificates}")
  set(${result} "    \"${certificates}\"" PARENT_SCOPE)
endfunction()

# Sets `names` and `fingerprints` to the lists that `folder`/fingerprints.txt holds.
function(ox_read_roots names fingerprints folder)
  file(STRINGS "${folder}/fingerprints.txt" lines REGEX "^[ \t]*[^# \t]")
  set(found_names "")
  set(found_fingerprints "")
  foreach(line IN LISTS lines)
    if(NOT line MATCHES "^[ \t]*([0-9A-Fa-f:]+)[ \t]+([^ \t\r]+)[ \t\r]*$" OR CMAKE_MATCH_2 IN_LIST found_names)
      message(FATAL_ERROR "${folder}/fingerprints.txt has a line that is no new root: ${line}")
    endif()
    list(APPEND found_names "${CMAKE_MATCH_2}")
    list(APPEND found_fingerprints "${CMAKE_MATCH_1}")
  endforeach()
  set(${names} "${found_names}" PARENT_SCOPE)
  set(${fingerprints} "${found_fingerprints}" PARENT_SCOPE)
endfunction()

# Writes a C++ source with the tables of `folder` to `output`.
function(ox_write_trust_tables folder output)
  ox_read_roots(roots fingerprints "${folder}")
  file(GLOB files RELATIVE "${folder}" "${folder}/*.pem")
  set(implicit ${files})
  list(FILTER implicit INCLUDE REGEX "^implicit-")
  set(strays ${files})
  list(REMOVE_ITEM strays ${roots} ${implicit})
  list(LENGTH implicit count)
  if(NOT roots OR strays OR NOT count EQUAL 3)
    message(FATAL_ERROR "The trust folder ${folder} cannot be used: it needs roots, listed in fingerprints.txt "
      "(there: ${roots}), exactly three implicit-*.pem (there: ${implicit}) and no other .pem (there: ${strays})")
  endif()

  set(OX_ROOTS "")
  set(OX_CHECKS "")
  set(index 0)
  foreach(root fingerprint IN ZIP_LISTS roots fingerprints)
    ox_read_certificate(text "${folder}" "${root}")
    string(APPEND OX_ROOTS "    // ${root}\n${text},\n")
    string(APPEND OX_CHECKS
      "static_assert(CertificateFingerprint(kRoots[${index}]) == FingerprintOf(\"${fingerprint}\"),\n"
      "              \"${root} has another SHA-1 fingerprint than fingerprints.txt expects\");\n")
    math(EXPR index "${index} + 1")
  endforeach()
  set(OX_IMPLICIT "")
  foreach(file IN LISTS implicit)
    ox_read_certificate(text "${folder}" "${file}")
    string(APPEND OX_IMPLICIT "    // ${file}\n    {CertificateFingerprint(\n${text}),\n     0xFFFFFFFF},\n")
  endforeach()
  configure_file("${CMAKE_CURRENT_FUNCTION_LIST_DIR}/TrustTables.cpp.in" "${output}" @ONLY)
endfunction()

# ox_add_trust(name folder)
# Adds a target with the tables of `folder`; a program links exactly one such target. Configuring or compiling stops if
# the folder does not have the form that Trust/README.md describes.
function(ox_add_trust name folder)
  set(tables "${CMAKE_CURRENT_BINARY_DIR}/${name}.cpp")
  ox_write_trust_tables("${folder}" "${tables}")
  file(GLOB inputs "${folder}/*.pem")
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS
    "${folder}" "${folder}/fingerprints.txt" ${inputs})
  # Objects, not a static library: ox_signing needs the tables but does not link this target, so the linker might drop
  # them.
  add_library(${name} OBJECT "${tables}")
  target_link_libraries(${name} PRIVATE ox_compile_settings)
endfunction()
