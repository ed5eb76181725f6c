# tamberlo_add_subdirs_if_present(dir...): adds each folder that has a CMakeLists.txt, so a
# subsystem joins the build by creating its folder and nothing else has to be edited.
function(tamberlo_add_subdirs_if_present)
    foreach(dir ${ARGN})
        if(EXISTS ${CMAKE_CURRENT_SOURCE_DIR}/${dir}/CMakeLists.txt)
            add_subdirectory(${dir})
        endif()
    endforeach()
endfunction()

# tamberlo_add_all_subdirs(): adds every immediate subfolder that has a CMakeLists.txt.
function(tamberlo_add_all_subdirs)
    file(GLOB children LIST_DIRECTORIES true RELATIVE ${CMAKE_CURRENT_SOURCE_DIR}
         ${CMAKE_CURRENT_SOURCE_DIR}/*)
    list(SORT children)
    foreach(child ${children})
        if(IS_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR}/${child}
           AND EXISTS ${CMAKE_CURRENT_SOURCE_DIR}/${child}/CMakeLists.txt)
            add_subdirectory(${child})
        endif()
    endforeach()
endfunction()
