# zelvora_add_layer(<target> DEPENDS <libs...>)
# Builds the static library of one layer from every .cpp/.h in the calling folder.
# New classes are picked up on the next configure (CONFIGURE_DEPENDS), so adding a
# class pair never means editing a list.
function(zelvora_add_layer target)
    cmake_parse_arguments(ARG "" "" "DEPENDS" ${ARGN})
    file(GLOB sources CONFIGURE_DEPENDS "${CMAKE_CURRENT_SOURCE_DIR}/*.cpp"
         "${CMAKE_CURRENT_SOURCE_DIR}/*.h")
    add_library(${target} STATIC ${sources})
    target_include_directories(${target} PUBLIC "${ZELVORA_SOURCE_ROOT}")
    target_link_libraries(${target} PUBLIC ${ARG_DEPENDS})
endfunction()
