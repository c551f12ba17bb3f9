# tesselex_windows_resource(TARGET DESCRIPTION): on Windows, gives an executable the program's
# icon and a version resource (the project's version, the description Explorer shows); elsewhere
# nothing. The resource script is made per target from packaging/windows/version.rc.in.
function(tesselex_windows_resource target description)
    if(NOT WIN32)
        return()
    endif()
    set(TESSELEX_ICON "${PROJECT_SOURCE_DIR}/packaging/icons/tesselex.ico")
    set(TESSELEX_RC_NAME "${target}")
    set(TESSELEX_RC_DESCRIPTION "${description}")
    set(rc "${CMAKE_CURRENT_BINARY_DIR}/${target}.rc")
    configure_file("${PROJECT_SOURCE_DIR}/packaging/windows/version.rc.in" "${rc}" @ONLY)
    target_sources(${target} PRIVATE "${rc}")
endfunction()
