# A program of its own, as it needs a display: it opens a window.
find_package(Qt6 6.4 REQUIRED COMPONENTS OpenGLWidgets)
add_executable(vorlen-bench-draw draw_bench.cpp)
target_link_libraries(vorlen-bench-draw PRIVATE
    vorlen_options vorlen_images vorlen_document vorlen_editing vorlen_ui_widgets vorlen_ui_imageserver vorlen_ui_slices Qt6::OpenGLWidgets benchmark::benchmark)
