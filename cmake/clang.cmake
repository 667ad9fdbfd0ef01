# Toolchain file of the fuzz preset: Clang, whose libFuzzer drives the fuzz targets.
find_program(KORVA_CLANG NAMES clang++-14 clang++)
if(NOT KORVA_CLANG)
  message(FATAL_ERROR "The fuzz targets need clang++-14: run tools/install_packages")
endif()
set(CMAKE_CXX_COMPILER "${KORVA_CLANG}")
