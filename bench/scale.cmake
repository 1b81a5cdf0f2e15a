# A program of its own, as it needs a display: it opens the main window.
find_package(Qt6 6.4 REQUIRED COMPONENTS OpenGLWidgets Test)
add_executable(vorlen-bench-scale scale_bench.cpp)
target_link_libraries(vorlen-bench-scale PRIVATE
    vorlen_options vorlen_images vorlen_document vorlen_editing vorlen_ui_widgets vorlen_ui_commands vorlen_ui_imageserver vorlen_ui_session vorlen_ui_models
    vorlen_ui_slices vorlen_ui_app Qt6::OpenGLWidgets Qt6::Test benchmark::benchmark)
