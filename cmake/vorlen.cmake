# Warnings and sanitizers, carried to every target by linking.
add_library(vorlen_options INTERFACE)
# Of the conversions those of the sign are left out, as they are by gcc: positions are of type int here.
target_compile_options(vorlen_options INTERFACE -Wall -Wextra -Wshadow -Wconversion -Wold-style-cast -Woverloaded-virtual
    -Wnon-virtual-dtor $<$<CXX_COMPILER_ID:Clang>:-Wno-sign-conversion>)
if(VORLEN_SANITIZE)
    target_compile_options(vorlen_options INTERFACE
        -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(vorlen_options INTERFACE -fsanitize=address,undefined)
endif()

# What fuzz targets reach counts its branches; windows and tests need not.
add_library(vorlen_room_options INTERFACE)
target_link_libraries(vorlen_room_options INTERFACE vorlen_options)
if(VORLEN_FUZZ)
    target_compile_options(vorlen_room_options INTERFACE -fsanitize=fuzzer-no-link)
endif()

# Ten times as quick as the linker of the compiler.
find_program(VORLEN_LLD ld.lld)
if(VORLEN_LLD)
    add_link_options(-fuse-ld=lld)
endif()

# Windows wait for people and OpenGL, files for disks, and tests run for seconds: they are compiled for a quick build, and
# the rooms whose loops count at the full level of the build type.
add_library(vorlen_light_options INTERFACE)
target_compile_options(vorlen_light_options INTERFACE $<$<CONFIG:Release>:-O2>)
add_library(vorlen_window_options INTERFACE)
target_link_libraries(vorlen_window_options INTERFACE vorlen_options)
target_compile_options(vorlen_window_options INTERFACE $<$<CONFIG:Release>:-O2>)
add_library(vorlen_test_options INTERFACE)
target_link_libraries(vorlen_test_options INTERFACE vorlen_options)
target_compile_options(vorlen_test_options INTERFACE $<$<CONFIG:Release>:-O1>)
if(VORLEN_SANITIZE)
    # Half the time that -O1 takes to compile, since a test's code runs once.
    target_compile_options(vorlen_test_options INTERFACE -O0)
endif()

# vorlen_precompile(target header): lets the target begin with cmake/precompiled/<header>.h, compiled once for all
# targets that name it. That is for speed alone: each source still includes what it uses.
function(vorlen_precompile target header)
    target_precompile_headers(${target} REUSE_FROM vorlen_precompiled_${header})
endfunction()

# vorlen_precompiled(header links...): the target that compiles cmake/precompiled/<header>.h.
function(vorlen_precompiled header)
    set(source ${PROJECT_BINARY_DIR}/precompiled/${header}.cpp)
    file(CONFIGURE OUTPUT ${source} CONTENT "// Empty: its target compiles a header.\n")
    add_library(vorlen_precompiled_${header} OBJECT ${source})
    target_link_libraries(vorlen_precompiled_${header} PRIVATE ${ARGN})
    # Named without the way to the checkout, so that the compiler's cache serves every checkout alike.
    target_include_directories(vorlen_precompiled_${header} PRIVATE ${PROJECT_SOURCE_DIR}/cmake)
    target_precompile_headers(vorlen_precompiled_${header} PRIVATE <precompiled/${header}.h>)
endfunction()

find_package(Qt6 6.4 REQUIRED COMPONENTS Widgets)
vorlen_precompiled(standard vorlen_room_options)
vorlen_precompiled(windows vorlen_window_options Qt6::Widgets)
if(VORLEN_TESTS)
    find_package(GTest REQUIRED)
    vorlen_precompiled(tests vorlen_test_options GTest::gtest)
    vorlen_precompiled(windowtests vorlen_test_options Qt6::Widgets GTest::gtest)
endif()

# vorlen_room(target SOURCES ... LINKS ... USES ... [LIGHT]): the static library of one room. LINKS are the rooms and
# libraries that its headers need, and its callers then see as well; USES are those that only its sources need. A LIGHT
# room has no loops of its own that count: they stand in the rooms below it.
#
# A room's headers are reached through a folder of their own that holds nothing but a link to the room. So a target sees
# the rooms that it links and no others, and an include of another one does not build.
function(vorlen_room target)
    cmake_parse_arguments(ARG "LIGHT" "" "SOURCES;LINKS;USES" ${ARGN})
    add_library(${target} STATIC ${ARG_SOURCES})
    vorlen_view(${target})
    target_link_libraries(${target} PUBLIC ${ARG_LINKS} PRIVATE ${ARG_USES})
    vorlen_compile(${target} ${ARG_LINKS} ${ARG_USES})
    if(ARG_LIGHT)
        target_link_libraries(${target} PRIVATE vorlen_light_options)
    endif()
endfunction()

# vorlen_compile(target links...): the options and the precompiled header of a target, by whether it links widgets.
function(vorlen_compile target)
    if("${ARGN}" MATCHES "Qt6::(OpenGL)?Widgets")
        target_link_libraries(${target} PRIVATE vorlen_window_options)
        vorlen_precompile(${target} windows)
    else()
        target_link_libraries(${target} PRIVATE vorlen_room_options)
        vorlen_precompile(${target} standard)
    endif()
endfunction()

# vorlen_meta_objects(target): compiles what Qt needs to know of the classes in the headers of the current room, together
# with the first sources of the target, which have read those headers already. One run for each room, where AUTOMOC takes
# one for each header and a source more: 200 s of a cold build of 13 minutes.
function(vorlen_meta_objects target)
    cmake_path(RELATIVE_PATH CMAKE_CURRENT_SOURCE_DIR BASE_DIRECTORY ${PROJECT_SOURCE_DIR}/src OUTPUT_VARIABLE room)
    file(GLOB headers CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.h ${CMAKE_CURRENT_SOURCE_DIR}/*/*.h)
    set(source ${CMAKE_CURRENT_BINARY_DIR}/${target}_metaobjects.cpp)
    add_custom_command(OUTPUT ${source}
        COMMAND ${PROJECT_SOURCE_DIR}/cmake/metaobjects $<TARGET_FILE:Qt6::moc> ${CMAKE_CURRENT_SOURCE_DIR} ${room} ${source} ${headers}
        DEPENDS ${headers} ${PROJECT_SOURCE_DIR}/cmake/metaobjects
        VERBATIM)
    target_sources(${target} PRIVATE ${source})
    set_property(SOURCE ${source} PROPERTY UNITY_GROUP 0)
endfunction()

# vorlen_program(target SOURCES ... LINKS ...): an executable.
function(vorlen_program target)
    cmake_parse_arguments(ARG "" "" "SOURCES;LINKS" ${ARGN})
    add_executable(${target} ${ARG_SOURCES})
    target_link_libraries(${target} PRIVATE ${ARG_LINKS} vorlen_light_options)
    vorlen_compile(${target} ${ARG_LINKS})
endfunction()

# vorlen_view(target): makes the folder of the current room, and lets the target and what links it include from there.
function(vorlen_view target)
    cmake_path(RELATIVE_PATH CMAKE_CURRENT_SOURCE_DIR BASE_DIRECTORY ${PROJECT_SOURCE_DIR}/src OUTPUT_VARIABLE room)
    set(view ${PROJECT_BINARY_DIR}/rooms/${target})
    cmake_path(GET room PARENT_PATH above)
    file(MAKE_DIRECTORY ${view}/${above})
    file(CREATE_LINK ${CMAKE_CURRENT_SOURCE_DIR} ${view}/${room} SYMBOLIC)
    target_include_directories(${target} PUBLIC ${view})
endfunction()

# vorlen_test(room SOURCES ... LINKS ... PARTS n): the GoogleTest program test_<room>. Its cases run in n entries of ctest,
# every n-th case in each: a process for each case would cost more than most cases do, and what a fixture makes for all of
# its cases is made once in each part. Which case fails is told by what the part writes.
function(vorlen_test room)
    cmake_parse_arguments(ARG "" "PARTS" "SOURCES;LINKS" ${ARGN})
    add_executable(test_${room} ${ARG_SOURCES})
    target_include_directories(test_${room} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
    target_link_libraries(test_${room} PRIVATE vorlen_test_options ${ARG_LINKS} GTest::gtest_main)
    vorlen_precompile(test_${room} tests)
    if(NOT ARG_PARTS)
        set(ARG_PARTS 1)
    endif()
    foreach(part RANGE 1 ${ARG_PARTS})
        math(EXPR index "${part} - 1")
        add_test(NAME test_${room}_${part} COMMAND test_${room})
        set_tests_properties(test_${room}_${part} PROPERTIES TIMEOUT 600 COST 50
            ENVIRONMENT "GTEST_TOTAL_SHARDS=${ARG_PARTS};GTEST_SHARD_INDEX=${index}")
    endforeach()
endfunction()

# vorlen_gui_test(room SOURCES ... LINKS ...): the GoogleTest program test_<room> of real windows. It runs as one test
# under a virtual X server of its own, as by hand with scripts/with-display.
function(vorlen_gui_test room)
    cmake_parse_arguments(ARG "" "" "SOURCES;LINKS" ${ARGN})
    find_package(Qt6 6.4 REQUIRED COMPONENTS OpenGLWidgets Test)
    if(NOT TARGET vorlen_guimain)
        add_library(vorlen_guimain OBJECT ${PROJECT_SOURCE_DIR}/tests/support/guimain.cpp)
        target_link_libraries(vorlen_guimain PRIVATE vorlen_test_options vorlen_ui_widgets GTest::gtest)
        vorlen_precompile(vorlen_guimain windowtests)
    endif()
    add_executable(test_${room} ${ARG_SOURCES} $<TARGET_OBJECTS:vorlen_guimain>)
    target_include_directories(test_${room} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
    target_link_libraries(test_${room} PRIVATE vorlen_test_options ${ARG_LINKS} Qt6::OpenGLWidgets Qt6::Test GTest::gtest)
    vorlen_precompile(test_${room} windowtests)
    add_test(NAME test_${room}
        COMMAND ${PROJECT_SOURCE_DIR}/scripts/with-display $<TARGET_FILE:test_${room}>)
    # The longest begin first.
    set_tests_properties(test_${room} PROPERTIES TIMEOUT 600 COST 100
        ENVIRONMENT "QT_QPA_PLATFORM=xcb;LIBGL_ALWAYS_SOFTWARE=1;LSAN_OPTIONS=suppressions=${PROJECT_SOURCE_DIR}/tests/support/lsan.supp:print_suppressions=0")
endfunction()

# vorlen_bench(source LINKS ...): adds a source to the one benchmark program.
function(vorlen_bench source)
    cmake_parse_arguments(ARG "" "" "LINKS" ${ARGN})
    target_sources(vorlen-bench PRIVATE ${CMAKE_CURRENT_SOURCE_DIR}/${source})
    target_link_libraries(vorlen-bench PRIVATE ${ARG_LINKS})
endfunction()
