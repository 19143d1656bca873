# The Debian package (`tools/package`): the program, its launcher entry, the icon in the hicolor
# sizes, the software-centre entry and the Debian documentation files, installed under /usr.
# The shared-library dependencies come from dpkg-shlibdeps; what it cannot see (QML modules
# loaded at run time, the font the views name) is listed here.

set(OSTREL_PACKAGE_VERSION ${OSTREL_SHORT_VERSION})
if(OSTREL_BUILD_NUMBER)
    string(APPEND OSTREL_PACKAGE_VERSION ".${OSTREL_BUILD_NUMBER}")
endif()
set(OSTREL_PACKAGE_CONTACT "OSTREL Support <support@ostrel.de>")

# The dates of the last commit, so that the same tree gives the same package.
execute_process(COMMAND git log -1 --format=%cs
    WORKING_DIRECTORY ${PROJECT_SOURCE_DIR}
    OUTPUT_VARIABLE OSTREL_RELEASE_DATE OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
execute_process(COMMAND git log -1 --format=%cD
    WORKING_DIRECTORY ${PROJECT_SOURCE_DIR}
    OUTPUT_VARIABLE OSTREL_RELEASE_TIME OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
if(NOT OSTREL_RELEASE_DATE OR NOT OSTREL_RELEASE_TIME)
    string(TIMESTAMP OSTREL_RELEASE_DATE "%Y-%m-%d" UTC)
    string(TIMESTAMP OSTREL_RELEASE_TIME "%a, %d %b %Y %H:%M:%S +0000" UTC)
endif()

set(desktop_dir ${PROJECT_SOURCE_DIR}/resources/desktop)
set(generated_dir ${CMAKE_BINARY_DIR}/desktop)

configure_file(${desktop_dir}/de.ostrel.ostrel.metainfo.xml.in
    ${generated_dir}/de.ostrel.ostrel.metainfo.xml @ONLY)
install(FILES ${generated_dir}/de.ostrel.ostrel.metainfo.xml DESTINATION share/metainfo)

# The font licence as a DEP-5 licence paragraph: indented, empty lines as " .".
file(STRINGS ${PROJECT_SOURCE_DIR}/resources/fonts/OFL.txt ofl_lines)
set(OSTREL_OFL_TEXT "")
foreach(line IN LISTS ofl_lines)
    string(STRIP "${line}" stripped)
    if(stripped STREQUAL "")
        string(APPEND OSTREL_OFL_TEXT " .\n")
    else()
        string(APPEND OSTREL_OFL_TEXT " ${line}\n")
    endif()
endforeach()
string(STRIP "${OSTREL_OFL_TEXT}" OSTREL_OFL_TEXT)
set(OSTREL_OFL_TEXT " ${OSTREL_OFL_TEXT}")
configure_file(${desktop_dir}/copyright.in ${generated_dir}/copyright @ONLY)
configure_file(${desktop_dir}/changelog.in ${generated_dir}/changelog @ONLY)
execute_process(COMMAND gzip -9nc ${generated_dir}/changelog
    OUTPUT_FILE ${generated_dir}/changelog.gz RESULT_VARIABLE gzip_result)
if(NOT gzip_result EQUAL 0)
    message(FATAL_ERROR "gzip failed on the changelog")
endif()
install(FILES ${generated_dir}/copyright ${generated_dir}/changelog.gz
    DESTINATION share/doc/ostrel)

# The manual page, English and German.
foreach(page ostrel.1 ostrel.de.1)
    execute_process(COMMAND gzip -9nc ${desktop_dir}/${page}
        OUTPUT_FILE ${generated_dir}/${page}.gz RESULT_VARIABLE gzip_result)
    if(NOT gzip_result EQUAL 0)
        message(FATAL_ERROR "gzip failed on ${page}")
    endif()
endforeach()
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS
    ${desktop_dir}/ostrel.1 ${desktop_dir}/ostrel.de.1 ${desktop_dir}/changelog.in
    ${desktop_dir}/copyright.in ${PROJECT_SOURCE_DIR}/resources/fonts/OFL.txt)
install(FILES ${generated_dir}/ostrel.1.gz DESTINATION share/man/man1)
install(FILES ${generated_dir}/ostrel.de.1.gz DESTINATION share/man/de/man1 RENAME ostrel.1.gz)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME ostrel)
set(CPACK_PACKAGE_VERSION ${OSTREL_PACKAGE_VERSION})
set(CPACK_PACKAGE_VENDOR OSTREL)
set(CPACK_PACKAGE_CONTACT ${OSTREL_PACKAGE_CONTACT})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "live view and recorder for a pair of loupe cameras")
# The extended description; CPack puts the summary above it and indents every line.
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
    "OSTREL shows the Wide and the Macro camera worn on a clinician's magnifying
loupes live in one window: the Wide picture fills the window, the Macro
picture sits as an inset at the bottom. It records the composite picture with
optional sound as HEVC/AAC MP4, takes JPEG photos of both cameras and of the
composite view, stabilises the Macro picture against head tremor, burns the
practice name into recordings and photos, and ends a recording by itself
before the disk is full.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_PACKAGE_DIRECTORY ${CMAKE_BINARY_DIR}/package)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION video)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE https://ostrel.de)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS
    "qml6-module-qtqml, qml6-module-qtqml-workerscript, qml6-module-qtquick, \
qml6-module-qtquick-controls, qml6-module-qtquick-templates, qml6-module-qtquick-layouts, \
qml6-module-qtquick-window, qml6-module-qtquick-dialogs, qml6-module-qtquick-shapes, \
qml6-module-qt-labs-folderlistmodel, fonts-dejavu-core")
# Opening folders, the desktop's dark mode, Wayland sessions and Qt's own German texts.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS
    "xdg-utils, xdg-desktop-portal, qt6-wayland, qt6-translations-l10n")
include(CPack)
