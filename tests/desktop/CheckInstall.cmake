# Installs the build into a scratch prefix and checks that the launcher entry and its icons are
# there and point at each other. Run with -DBUILD=<build dir> -DPREFIX=<scratch dir>.
file(REMOVE_RECURSE ${PREFIX})
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD} --prefix ${PREFIX}
    RESULT_VARIABLE result OUTPUT_QUIET)
if(NOT result EQUAL 0)
    message(FATAL_ERROR "cmake --install failed: ${result}")
endif()
foreach(file bin/ostrel share/applications/ostrel.desktop
        share/metainfo/de.ostrel.ostrel.metainfo.xml share/man/man1/ostrel.1.gz
        share/icons/hicolor/16x16/apps/ostrel.png share/icons/hicolor/48x48/apps/ostrel.png share/icons/hicolor/256x256/apps/ostrel.png
        share/icons/hicolor/512x512/apps/ostrel.png)
    if(NOT EXISTS ${PREFIX}/${file})
        message(FATAL_ERROR "not installed: ${file}")
    endif()
endforeach()
file(STRINGS ${PREFIX}/share/applications/ostrel.desktop entry)
foreach(line "[Desktop Entry]" "Type=Application" "Name=OSTREL" "Exec=ostrel" "Icon=ostrel")
    list(FIND entry "${line}" found)
    if(found EQUAL -1)
        message(FATAL_ERROR "ostrel.desktop lacks \"${line}\"")
    endif()
endforeach()
# A PNG starts with its eight-byte signature.
file(READ ${PREFIX}/share/icons/hicolor/256x256/apps/ostrel.png signature LIMIT 8 HEX)
if(NOT signature STREQUAL "89504e470d0a1a0a")
    message(FATAL_ERROR "the icon is not a PNG")
endif()
file(REMOVE_RECURSE ${PREFIX})
