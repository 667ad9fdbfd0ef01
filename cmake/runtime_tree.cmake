# Run by each build as a script, with SOURCE and BUILD: lays beside the program what it runs from.
#
# A list of what was copied remains in the build directory. A file that leaves ado/base leaves the
# copy by it, while files that the build itself makes in the copy stay.
cmake_minimum_required(VERSION 3.25)

file(CONFIGURE OUTPUT "${BUILD}/iskorva.90" CONTENT "Korva 9.2\n")

set(list_file "${BUILD}/runtime_tree.txt")
set(copied "")
if(EXISTS "${list_file}")
  file(STRINGS "${list_file}" copied)
endif()
file(GLOB_RECURSE files RELATIVE "${SOURCE}/ado/base" "${SOURCE}/ado/base/*")
foreach(file IN LISTS copied)
  if(NOT file IN_LIST files)
    file(REMOVE "${BUILD}/ado/base/${file}")
  endif()
endforeach()

file(MAKE_DIRECTORY "${BUILD}/ado/base")
foreach(file IN LISTS files)
  cmake_path(GET file PARENT_PATH folder)
  file(COPY "${SOURCE}/ado/base/${file}" DESTINATION "${BUILD}/ado/base/${folder}")
endforeach()
list(JOIN files "\n" text)
file(WRITE "${list_file}" "${text}\n")
