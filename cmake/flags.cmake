# Compiler and linker flags of every target; GCC 12 and Clang 14 take all that no test guards.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)

if(NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE Release)
endif()
set(CMAKE_CXX_FLAGS_RELEASE "-O2 -DNDEBUG")
set(CMAKE_CXX_FLAGS_DEBUG "-O0 -g")

# Results are the same bits in every build: no fused multiply-add, and never -ffast-math. Nothing
# here reads errno after a mathematical function or counts on a floating-point trap, and giving both
# up lets the compiler vectorise.
add_compile_options(-ffp-contract=off -fno-math-errno -fno-trapping-math)

add_compile_options(
  -Wall -Wextra -Wshadow -Wpedantic -Wno-missing-field-initializers
  -Wformat=2 -Wno-format-nonliteral  # formats come from tables and from users, through our own code
  -Wimplicit-fallthrough -Wnon-virtual-dtor -Wextra-semi -Wundef -Wvla)
# A public function that no header declares is a slip: it belongs in the anonymous namespace.
set(KORVA_LIBRARY_WARNINGS -Wmissing-declarations)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  add_compile_options(-Wno-restrict)  # GCC 12 sees overlaps in std::string's operator+ (bug 105651)
else()
  list(APPEND KORVA_LIBRARY_WARNINGS -Wmissing-prototypes)  # Clang's name for the same
  add_compile_options(-Wno-gnu-zero-variadic-macro-arguments)  # GoogleTest's own macros
  add_compile_options(-Wno-pass-failed)  # a loop that could not be vectorised is slower, not wrong
endif()

# Position-independent executables. The libraries are compiled for them too and not as -fPIC, which
# would keep the compiler from inlining public functions.
add_compile_options(-fPIE)
add_link_options(-pie -Wl,-z,relro,-z,now)
add_compile_options(-fstack-protector-strong)
add_compile_definitions(_GLIBCXX_ASSERTIONS)
if(CMAKE_BUILD_TYPE STREQUAL "Release" AND NOT KORVA_SANITIZE)
  add_compile_options(-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2)  # needs an optimised build
endif()

if(KORVA_SANITIZE)
  add_compile_options(-fsanitize=${KORVA_SANITIZE} -fno-sanitize-recover=all
    -O1 -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${KORVA_SANITIZE})
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # GCC's checks by data flow give false alarms in the code that the sanitizers add.
    add_compile_options(-Wno-maybe-uninitialized -Wno-array-bounds -Wno-stringop-overflow
      -Wno-stringop-overread -Wno-nonnull)
  endif()
endif()
if(KORVA_STRESS)
  add_compile_definitions(KORVA_STRESS=1)
endif()
if(KORVA_FUZZ)
  add_compile_definitions(KORVA_FUZZ=1)
endif()
