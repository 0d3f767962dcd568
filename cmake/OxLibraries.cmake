# The names that a user's CMake files link, the same in this tree and after installing.

set(OX_LIBRARIES ox_posix ox_foundation ox_text ox_files ox_archive ox_signing ox_xml)

# The trust tables for a user's programs, as a library: objects could not be installed.
add_library(ox_builtin_trust STATIC $<TARGET_OBJECTS:ox_trust>)
set_target_properties(ox_builtin_trust PROPERTIES LINKER_LANGUAGE CXX)

# All libraries. The linker needs the tables after the library that reads them.
add_library(ox_all INTERFACE)
target_link_libraries(ox_all INTERFACE ox_signing ox_builtin_trust ox_xml ox_archive ox_text)
set_target_properties(ox_all PROPERTIES EXPORT_NAME Converter)
add_library(Converter::Converter ALIAS ox_all)

# After installing, ox_signing brings the tables. In this tree each program chooses its own.
target_link_libraries(ox_signing INTERFACE $<INSTALL_INTERFACE:Converter::ox_builtin_trust>)

foreach(library IN LISTS OX_LIBRARIES ITEMS ox_builtin_trust)
  add_library(Converter::${library} ALIAS ${library})
endforeach()
