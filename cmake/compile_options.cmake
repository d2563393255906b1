# Options that every target of the project shares, in one interface library.
add_library(tessara_options INTERFACE)

if(MSVC)
  target_compile_options(tessara_options INTERFACE /W4 /permissive- /utf-8 /fp:precise)
  if(TESSARA_WERROR)
    target_compile_options(tessara_options INTERFACE /WX)
  endif()
else()
  # Contraction is off so that platforms agree to rounding.
  target_compile_options(tessara_options INTERFACE -Wall -Wextra -Wconversion -ffp-contract=off)
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # GCC 12 sees overlaps and overruns in the concatenation of strings where there are none (its
    # bug 105651).
    target_compile_options(tessara_options INTERFACE -Wno-restrict -Wno-array-bounds
                           -Wno-stringop-overflow -Wno-stringop-overread)
  endif()
  if(TESSARA_WERROR)
    target_compile_options(tessara_options INTERFACE -Werror)
  endif()
  # No path of the building machine in what is shipped.
  target_compile_options(tessara_options INTERFACE -ffile-prefix-map=${PROJECT_SOURCE_DIR}/=)
endif()

if(TESSARA_SANITIZE)
  target_compile_options(tessara_options INTERFACE -fsanitize=address,undefined
                         -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(tessara_options INTERFACE -fsanitize=address,undefined)
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # With the sanitizers' code in between, GCC loses track of what an optional holds.
    target_compile_options(tessara_options INTERFACE -Wno-maybe-uninitialized)
  endif()
endif()

if(TESSARA_FUZZERS)
  # The engine tells the fuzzer which of its branches were taken; without that it would draw blindly.
  target_compile_options(tessara_options INTERFACE -fsanitize=fuzzer-no-link)
endif()

# What most files of a target include, read once: a fifth of the time of a build. Further headers
# given go first, as that of the interpreter must.
function(tessara_precompile target)
  target_precompile_headers(${target} PRIVATE ${ARGN}
    <algorithm> <array> <cmath> <cstddef> <functional> <limits> <map> <memory> <optional> <span>
    <stdexcept> <string> <string_view> <utility> <vector>)
endfunction()

# An extension module exports its entry point and nothing else; templates of the standard library
# would otherwise show, as their namespace asks for default visibility.
function(tessara_single_export target symbol)
  if(APPLE)
    target_link_options(${target} PRIVATE "LINKER:-exported_symbol,_${symbol}")
  elseif(UNIX)
    set(script ${CMAKE_CURRENT_BINARY_DIR}/${target}.exports)
    file(CONFIGURE OUTPUT ${script} CONTENT "{ global: ${symbol}; local: *; };\n")
    target_link_options(${target} PRIVATE "LINKER:--version-script=${script}")
    set_target_properties(${target} PROPERTIES LINK_DEPENDS ${script})
  endif()
endfunction()
