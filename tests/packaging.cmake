# Installation and packaging: the real install rules and the real .deb, each followed by a run
# of the installed launcher on a private X server (packaging/tests/).
if(UNIX AND NOT APPLE)
    find_package(X11 REQUIRED)
    add_executable(packaging_closewindow packaging_closewindow.cpp)
    target_link_libraries(packaging_closewindow PRIVATE X11::X11)

    foreach(kind install package)
        add_test(NAME packaging_${kind}
                 COMMAND "${PROJECT_SOURCE_DIR}/packaging/tests/${kind}-test"
                         "${CMAKE_BINARY_DIR}" $<TARGET_FILE:packaging_closewindow>)
        # Both install from the build tree, which records install_manifest.txt: one at a time.
        set_tests_properties(packaging_${kind} PROPERTIES
            ENVIRONMENT "CMAKE=${CMAKE_COMMAND};CPACK=${CMAKE_CPACK_COMMAND}"
            RESOURCE_LOCK packaging
            LABELS packaging
            TIMEOUT 120)
    endforeach()
endif()

