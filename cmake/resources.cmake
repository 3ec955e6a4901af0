# Resource images. One tool chain for every target: our compiler preprocesses, llvm-rc compiles, and lld-link makes a
# PE file that holds nothing but resources.
find_program(KV_LLVM_RC NAMES llvm-rc llvm-rc-14 REQUIRED)
find_program(KV_LLD_LINK NAMES lld-link lld-link-14 REQUIRED)

if(CMAKE_SIZEOF_VOID_P EQUAL 4)
  set(KV_PE_MACHINE x86)
else()
  set(KV_PE_MACHINE x64)
endif()

# kv_resource_image(SOURCE kvres.rc OUTPUT path [DEPENDS ...]): makes the PE file at `path`.
function(kv_resource_image)
  cmake_parse_arguments(IMAGE "" "SOURCE;OUTPUT" "DEPENDS" ${ARGN})
  get_filename_component(source ${IMAGE_SOURCE} ABSOLUTE)
  get_filename_component(folder ${source} DIRECTORY)
  get_filename_component(title ${IMAGE_OUTPUT} NAME)
  # Inputs are relative names: the Windows tools take an absolute path such as /check/… for an option.
  add_custom_command(
    OUTPUT ${IMAGE_OUTPUT}
    COMMAND ${CMAKE_CXX_COMPILER} -E -P -xc -DRC_INVOKED -I${folder} ${source} -o ${title}.i.rc
    COMMAND ${KV_LLVM_RC} -no-cpp /C 65001 /I ${folder} /FO ${title}.res ${title}.i.rc
    COMMAND ${KV_LLD_LINK} /dll /noentry /Brepro /machine:${KV_PE_MACHINE} /implib:${title}.lib
            /out:${IMAGE_OUTPUT} ${title}.res
    WORKING_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR}
    DEPENDS ${source} ${IMAGE_DEPENDS}
    VERBATIM)
endfunction()

# Gives a host module or program the resources of `image`: a section that the layer reads from the file.
function(kv_embed_resources target image)
  add_custom_target(${target}_resources DEPENDS ${image})
  add_dependencies(${target} ${target}_resources)
  add_custom_command(TARGET ${target} POST_BUILD
    COMMAND objcopy --remove-section .kvrsrc --add-section .kvrsrc=${image}
            --set-section-flags .kvrsrc=noload,readonly $<TARGET_FILE:${target}>
    VERBATIM)
  set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${image})
endfunction()
