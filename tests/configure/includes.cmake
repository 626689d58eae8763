# cmake -D REPOSITORY=… -D SCRATCH=… [-D CHANGE=…] -P: whether the #include lines of the sources keep to
# the table of arrows. CHANGE is "file;include", an include added to a copy of the sources, or
# "variable;arrow", an arrow added to the table.
cmake_minimum_required(VERSION 3.25)
include(${REPOSITORY}/cmake/DependencyArrows.cmake)
if(CHANGE MATCHES "^(MIRSKO_.*);(.*)$")
    list(APPEND ${CMAKE_MATCH_1} ${CMAKE_MATCH_2})
elseif(CHANGE MATCHES "^(.*);(.*)$")
    set(file ${SCRATCH}/${CMAKE_MATCH_1})
    set(include ${CMAKE_MATCH_2})
    file(REMOVE_RECURSE ${SCRATCH})
    foreach(folder app update transfer firmware_file sdk simulator tools)
        file(COPY ${REPOSITORY}/${folder} DESTINATION ${SCRATCH}
             FILES_MATCHING PATTERN *.h PATTERN *.cpp)
    endforeach()
    file(APPEND ${file} "#include ${include}\n")
    set(REPOSITORY ${SCRATCH})
endif()
mirsko_check_includes(${REPOSITORY})
message(STATUS "Every include keeps to the table")
