# A program of its own, as it needs a display: scripts/bench gives it one.
find_package(Qt6 6.4 REQUIRED COMPONENTS OpenGLWidgets Widgets)
add_executable(vorlen-bench-view view_bench.cpp)
target_include_directories(vorlen-bench-view PRIVATE ${PROJECT_SOURCE_DIR}/bench ${PROJECT_SOURCE_DIR}/tests)
target_link_libraries(vorlen-bench-view PRIVATE vorlen_options vorlen_shapes vorlen_document vorlen_editing vorlen_ui_widgets vorlen_ui_viewer vorlen_ui_scenes Qt6::OpenGLWidgets benchmark::benchmark)
