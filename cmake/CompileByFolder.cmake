# Has the sources of a target compiled together, folder by folder, unless MERO_UNITY is off: in half of the time. Those
# that log under a name which is not the file's are together with others of that name.
function(mero_compile_by_folder target)
    get_target_property(sources ${target} SOURCES)
    foreach(source IN LISTS sources)
        cmake_path(GET source PARENT_PATH folder)
        file(STRINGS ${source} name REGEX "^#define MERO_SOURCE_NAME" LIMIT_COUNT 1)
        string(MAKE_C_IDENTIFIER "${target} ${folder} ${name}" group)
        set_source_files_properties(${source} PROPERTIES UNITY_GROUP ${group})
    endforeach()
    set_target_properties(${target} PROPERTIES UNITY_BUILD ${MERO_UNITY} UNITY_BUILD_MODE GROUP)
endfunction()
