# The compiler's settings for every target, and functions that make targets.

include(OxHardening)

# ox_compile_settings is how each source is compiled; ox_settings, for programs, is also how they are linked. Neither
# affects the targets of a user's project.
add_library(ox_compile_settings INTERFACE)
add_library(ox_settings INTERFACE)
target_link_libraries(ox_settings INTERFACE ox_compile_settings)
set(OX_INCLUDE_FOLDERS "${PROJECT_SOURCE_DIR}/Core/Source" "${PROJECT_SOURCE_DIR}/Converter/Source")
target_include_directories(ox_compile_settings INTERFACE ${OX_INCLUDE_FOLDERS})
target_compile_options(ox_compile_settings INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wformat-security $<$<BOOL:${OX_STRICT}>:-Werror>
  # g++ 12 warns about overlaps in std::string's own operator+ that do not exist.
  $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>)

if(CMAKE_SIZEOF_VOID_P EQUAL 4)
  # Files of 2 GiB and more, and times after 2038. No interface of this project or of OpenSSL and ICU has a type that
  # this changes.
  target_compile_definitions(ox_compile_settings INTERFACE _FILE_OFFSET_BITS=64 _TIME_BITS=64)
endif()

if(OX_SANITIZE)
  set(sanitizers -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  if(OX_SANITIZE STREQUAL "thread")
    set(sanitizers -fsanitize=thread)
  endif()
  if(OX_FUZZ)
    list(APPEND sanitizers -fsanitize=fuzzer-no-link)
  endif()
  target_compile_options(ox_compile_settings INTERFACE ${sanitizers})
  # With lazy binding the dynamic linker saves registers on the stack, and with them parts of secrets. So functions are
  # bound at the start, as in optimised builds.
  target_link_options(ox_settings INTERFACE ${sanitizers} -Wl,-z,now)
else()
  ox_harden_optimised(ox_compile_settings ox_settings)
endif()
if(NOT CMAKE_CXX_FLAGS MATCHES "_GLIBCXX_ASSERTIONS|-fhardened")
  target_compile_definitions(ox_compile_settings INTERFACE _GLIBCXX_ASSERTIONS)
endif()

# ox_find_package(target find_package's arguments...)
# Imported targets are local to a folder, but a project that includes this one links libraries that need them. So this
# makes them global.
macro(ox_find_package target)
  if(NOT TARGET ${target})
    find_package(${ARGN})
    set_target_properties(${target} PROPERTIES IMPORTED_GLOBAL ON)
  endif()
endmacro()

# ox_add_library(name SOURCES file... [PUBLIC_LINKS target...] [PRIVATE_LINKS target...])
# A static library of one folder. What it links is what its sources may include.
function(ox_add_library name)
  cmake_parse_arguments(arg "" "" "SOURCES;PUBLIC_LINKS;PRIVATE_LINKS" ${ARGN})
  add_library(${name} STATIC ${arg_SOURCES})
  target_link_libraries(${name}
    PUBLIC ${arg_PUBLIC_LINKS} PRIVATE $<BUILD_INTERFACE:ox_compile_settings> ${arg_PRIVATE_LINKS})
  target_include_directories(${name} PUBLIC
    "$<BUILD_INTERFACE:${OX_INCLUDE_FOLDERS}>" "$<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/converter>")
  target_compile_features(${name} INTERFACE cxx_std_20)
endfunction()

# scripts/cross sets more, since an emulator runs the tests.
set(OX_TEST_TIMEOUT 300 CACHE STRING "Seconds that a test may take")

# ox_add_tests(name LABEL unit|cli SOURCES file... LINKS target...)
# A GoogleTest program whose cases ctest lists one by one.
function(ox_add_tests name)
  cmake_parse_arguments(arg "" "LABEL" "SOURCES;LINKS" ${ARGN})
  add_executable(${name} ${arg_SOURCES})
  target_link_libraries(${name} PRIVATE ox_settings ${arg_LINKS} GTest::gmock GTest::gtest_main)
  target_include_directories(${name} PRIVATE "${PROJECT_SOURCE_DIR}/Tests")
  target_compile_definitions(${name} PRIVATE OX_SOURCE_DIR="${PROJECT_SOURCE_DIR}")
  gtest_discover_tests(${name} DISCOVERY_TIMEOUT ${OX_TEST_TIMEOUT} NO_PRETTY_VALUES PROPERTIES LABELS ${arg_LABEL} TIMEOUT ${OX_TEST_TIMEOUT})
endfunction()
