# Trust is data: a folder of certificates becomes the built-in tables of a program that links them.

set(OX_TRUST_FOLDER "${PROJECT_SOURCE_DIR}/Trust" CACHE PATH "Folder of the certificates that Converter trusts")

# The program that reads such a folder. It is made while configuring, from the compiler and the
# cryptographic library that the project needs anyway.
function(ox_build_trust_table_program program)
  set(source "${PROJECT_SOURCE_DIR}/cmake/TrustTable.cpp")
  set(binary "${PROJECT_BINARY_DIR}/trust_table${CMAKE_EXECUTABLE_SUFFIX}")
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${source}")
  if("${source}" IS_NEWER_THAN "${binary}")
    try_compile(compiled "${PROJECT_BINARY_DIR}/trust_table_build" "${source}"
      LINK_LIBRARIES OpenSSL::Crypto
      CXX_STANDARD 20 CXX_STANDARD_REQUIRED ON
      OUTPUT_VARIABLE log COPY_FILE "${binary}")
    unset(compiled CACHE)
    if(NOT EXISTS "${binary}" OR "${source}" IS_NEWER_THAN "${binary}")
      message(FATAL_ERROR "cmake/TrustTable.cpp, which reads the trust folder, was not built:\n${log}")
    endif()
  endif()
  set(${program} "${binary}" PARENT_SCOPE)
endfunction()

# ox_add_trust(name folder)
# The tables of `folder` as a target for programs to link, one for each program. Stops when the folder is
# not as it has to be; Trust/README.md says how that is.
function(ox_add_trust name folder)
  ox_build_trust_table_program(program)
  set(tables "${CMAKE_CURRENT_BINARY_DIR}/${name}.cpp")
  execute_process(COMMAND ${CMAKE_CROSSCOMPILING_EMULATOR} "${program}" "${folder}" "${tables}.new"
    RESULT_VARIABLE result ERROR_VARIABLE problem)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "The trust folder ${folder} cannot be used:\n${problem}")
  endif()
  file(COPY_FILE "${tables}.new" "${tables}" ONLY_IF_DIFFERENT)
  file(GLOB inputs "${folder}/*.pem")
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS
    "${folder}" "${folder}/fingerprints.txt" ${inputs})
  # Objects, not an archive: the library that needs the tables does not name this target.
  add_library(${name} OBJECT "${tables}")
  target_link_libraries(${name} PRIVATE ox_compile_settings)
endfunction()
