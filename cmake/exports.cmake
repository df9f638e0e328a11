# Writes the version script of a library from its checked-in list of exported names, so that the list is what is exported.
function(midware_version_script list node out)
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${list})
    file(STRINGS ${list} names REGEX "^[A-Za-z_]")
    list(JOIN names ";\n        " names)
    set(text "${node} {\n    global:\n        ${names};\n    local:\n        *;\n};\n")
    file(CONFIGURE OUTPUT ${out} CONTENT "${text}" @ONLY)
endfunction()
