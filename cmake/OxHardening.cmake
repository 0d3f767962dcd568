# Hardening of optimised builds, where compiler and target support it. The builder's own flags take precedence: what
# they turn on or off is left out here.

include(CheckCXXCompilerFlag)
include(CheckCXXSourceCompiles)
include(CheckLinkerFlag)
include(CheckPIESupported)

# Sets `level` to 3 if both compiler and C library support it, otherwise to 2: then <features.h> would lower 3 itself.
function(ox_find_fortify_level level)
  set(CMAKE_REQUIRED_FLAGS "-O2 -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3 -Werror")
  check_cxx_source_compiles("
    #include <cstdlib>
    #if __USE_FORTIFY_LEVEL < 3
    #error level 3 is not there
    #endif
    int main() {}" OX_HAS_FORTIFY_3)
  set(${level} 2 PARENT_SCOPE)
  if(OX_HAS_FORTIFY_3)
    set(${level} 3 PARENT_SCOPE)
  endif()
endfunction()

# ox_harden(target config kind given pattern flag)
# Adds the `kind` (COMPILE or LINK) of `flag` in `config`, unless the builder's flags match `pattern`.
function(ox_harden target config kind given pattern flag)
  if(given MATCHES "${pattern}|-fhardened")
    return()
  endif()
  string(MAKE_C_IDENTIFIER "OX_HAS${flag}" has)
  set(CMAKE_REQUIRED_FLAGS -Werror)
  if(kind STREQUAL "LINK")
    check_linker_flag(CXX "${flag}" ${has})
  else()
    check_cxx_compiler_flag("${flag}" ${has})
  endif()
  if(${has})
    set_property(TARGET ${target} APPEND PROPERTY
      INTERFACE_${kind}_OPTIONS "$<$<CONFIG:${config}>:${flag}>")
  endif()
endfunction()

# Sets `result` to whether the last -O among `flags` optimises.
function(ox_is_optimised result flags)
  string(REGEX MATCHALL "(^| )-O[^ ]*" levels " ${flags}")
  list(POP_BACK levels last)
  if("${last}" MATCHES "-O" AND NOT "${last}" MATCHES "-O0")
    set(${result} ON PARENT_SCOPE)
  else()
    set(${result} OFF PARENT_SCOPE)
  endif()
endfunction()

# Adds the flags to the interface targets `compile` and `link`, in each configuration whose flags optimise.
function(ox_harden_optimised compile link)
  ox_find_fortify_level(level)
  set(configs ${CMAKE_CONFIGURATION_TYPES})
  if(NOT configs)
    set(configs ${CMAKE_BUILD_TYPE})
  endif()
  foreach(config IN LISTS configs)
    string(TOUPPER "${config}" suffix)
    set(given "${CMAKE_CXX_FLAGS} ${CMAKE_CXX_FLAGS_${suffix}}")
    ox_is_optimised(optimised "${given}")
    if(optimised)
      if(NOT given MATCHES "_FORTIFY_SOURCE|-fhardened")
        target_compile_options(${compile} INTERFACE
          "$<$<CONFIG:${config}>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=${level}>")
      endif()
      ox_harden(${compile} ${config} COMPILE "${given}" "-f(no-)?stack-protector" -fstack-protector-strong)
      ox_harden(${compile} ${config} COMPILE "${given}" "-f(no-)?stack-clash" -fstack-clash-protection)
      ox_harden(${compile} ${config} COMPILE "${given}" "-fcf-protection" -fcf-protection)
      ox_harden(${compile} ${config} COMPILE "${given}" "-mbranch-protection" -mbranch-protection=standard)
      string(APPEND given " ${CMAKE_EXE_LINKER_FLAGS} ${CMAKE_EXE_LINKER_FLAGS_${suffix}}")
      ox_harden(${link} ${config} LINK "${given}" "-z,?(no)?relro" -Wl,-z,relro)
      ox_harden(${link} ${config} LINK "${given}" "-z,?(now|lazy)" -Wl,-z,now)
    endif()
  endforeach()
endfunction()

# Position-independent executables in every build; so the libraries' objects can also be linked into shared libraries.
string(TOLOWER "${CMAKE_CXX_FLAGS} ${CMAKE_EXE_LINKER_FLAGS}" given)
if(NOT DEFINED CMAKE_POSITION_INDEPENDENT_CODE AND NOT given MATCHES "no-pi[ce]")
  set(CMAKE_POSITION_INDEPENDENT_CODE ON)
endif()
check_pie_supported(OUTPUT_VARIABLE OX_PIE_PROBLEM)
