# vorlen_unity(): compiles sources of a target together, as many as do not get in each other's way
# (scripts/sourcelots.py), which takes less than half the time, since most of it goes into reading the same headers
# again. Each source still includes what it uses: a build of type Debug compiles each by itself.
function(vorlen_unity)
    find_package(Python3 COMPONENTS Interpreter)
    if(NOT Python3_FOUND)
        return()
    endif()
    set(lines "")
    set(directories ${PROJECT_SOURCE_DIR})
    while(directories)
        list(POP_FRONT directories directory)
        get_property(below DIRECTORY ${directory} PROPERTY SUBDIRECTORIES)
        list(APPEND directories ${below})
        get_property(targets DIRECTORY ${directory} PROPERTY BUILDSYSTEM_TARGETS)
        foreach(target IN LISTS targets)
            get_target_property(type ${target} TYPE)
            if(type MATCHES "^(STATIC_LIBRARY|EXECUTABLE)$")
                set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_MODE GROUP)
                # Of a source that another one includes gcc thinks as of a header; and what it inlines where much is
                # compiled at once makes gcc 12 see its own std::string write out of bounds (its bug 105329). A build
                # without lots warns of both.
                target_compile_options(${target} PRIVATE "$<$<CXX_COMPILER_ID:GNU>:-Wno-subobject-linkage;-Wno-restrict>"
                    "$<$<CXX_COMPILER_ID:GNU>:-Wno-stringop-overflow;-Wno-stringop-overread;-Wno-array-bounds>")
                get_target_property(sources ${target} SOURCES)
                # Without those that are made while building: the lots must not depend on whether they were already.
                foreach(source IN LISTS sources)
                    cmake_path(ABSOLUTE_PATH source BASE_DIRECTORY ${directory} NORMALIZE)
                    if(source MATCHES "\\.cpp$" AND NOT source MATCHES "_metaobjects" AND EXISTS ${source})
                        string(APPEND lines "${target}\t${source}\n")
                    endif()
                endforeach()
            endif()
        endforeach()
    endwhile()
    file(WRITE ${PROJECT_BINARY_DIR}/unity/sources.txt "${lines}")
    execute_process(COMMAND ${Python3_EXECUTABLE} ${PROJECT_SOURCE_DIR}/scripts/sourcelots.py ${PROJECT_BINARY_DIR}
        COMMAND_ERROR_IS_FATAL ANY)
    include(${PROJECT_BINARY_DIR}/unity/groups.cmake)
endfunction()
