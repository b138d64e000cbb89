# How every target of the project is compiled.
function(orvane_target_options target)
  target_compile_features(${target} PUBLIC cxx_std_20)
  set_target_properties(${target} PROPERTIES CXX_EXTENSIONS OFF POSITION_INDEPENDENT_CODE ON)
  # No errno from math functions, which nobody reads and which keeps square roots out of vector loops.
  # Contraction off: a fused multiply-add rounds once where the arithmetic that we promise rounds twice.
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Werror -fno-math-errno -ffp-contract=off)
  if(ORVANE_SANITIZE)
    target_compile_options(${target} PRIVATE -fsanitize=${ORVANE_SANITIZE} -fno-sanitize-recover=all
                                             -fno-omit-frame-pointer)
    target_link_options(${target} PUBLIC -fsanitize=${ORVANE_SANITIZE})
  endif()
endfunction()
