# The compiler's settings for every target, and the two ways in which targets are made here.

include(OxHardening)

add_library(ox_settings INTERFACE)
target_include_directories(ox_settings INTERFACE
  "${CMAKE_SOURCE_DIR}/Core/Source" "${CMAKE_SOURCE_DIR}/Converter/Source")
target_compile_options(ox_settings INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wformat-security $<$<BOOL:${OX_STRICT}>:-Werror>
  # g++ 12 finds overlaps in std::string's own operator+ that are not there.
  $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>)

if(OX_SANITIZE)
  set(sanitizers -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  if(OX_FUZZ)
    list(APPEND sanitizers -fsanitize=fuzzer-no-link)
  endif()
  target_compile_options(ox_settings INTERFACE ${sanitizers})
  target_link_options(ox_settings INTERFACE ${sanitizers})
else()
  ox_harden_optimised(ox_settings)
endif()
if(NOT CMAKE_CXX_FLAGS MATCHES "_GLIBCXX_ASSERTIONS|-fhardened")
  target_compile_definitions(ox_settings INTERFACE _GLIBCXX_ASSERTIONS)
endif()

# ox_add_library(name SOURCES file... [PUBLIC_LINKS target...] [PRIVATE_LINKS target...])
# A static library of one folder. Its link lines are the law of includes.
function(ox_add_library name)
  cmake_parse_arguments(arg "" "" "SOURCES;PUBLIC_LINKS;PRIVATE_LINKS" ${ARGN})
  add_library(${name} STATIC ${arg_SOURCES})
  target_link_libraries(${name}
    PUBLIC $<BUILD_INTERFACE:ox_settings> ${arg_PUBLIC_LINKS} PRIVATE ${arg_PRIVATE_LINKS})
  target_include_directories(${name} INTERFACE $<INSTALL_INTERFACE:include/converter>)
  target_compile_features(${name} INTERFACE cxx_std_20)
endfunction()

# ox_add_tests(name LABEL unit|cli SOURCES file... LINKS target...)
# A GoogleTest program whose cases ctest lists one by one.
function(ox_add_tests name)
  cmake_parse_arguments(arg "" "LABEL" "SOURCES;LINKS" ${ARGN})
  add_executable(${name} ${arg_SOURCES})
  target_link_libraries(${name} PRIVATE ox_settings ${arg_LINKS} GTest::gmock GTest::gtest_main)
  target_include_directories(${name} PRIVATE "${CMAKE_SOURCE_DIR}/Tests")
  target_compile_definitions(${name} PRIVATE OX_SOURCE_DIR="${CMAKE_SOURCE_DIR}")
  gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60 NO_PRETTY_VALUES PROPERTIES LABELS ${arg_LABEL} TIMEOUT 300)
endfunction()
