# The Debian package: cpack -G DEB in the build folder. Debian's own changelog and copyright file are made from those of
# the tree.
set(debian ${CMAKE_CURRENT_BINARY_DIR}/debian)
set(maintainer "The Nimbrel developers <nimbrel@nimbrel.example>")
configure_file(Debian/copyright.in ${debian}/copyright @ONLY)
add_custom_command(OUTPUT ${debian}/changelog.gz
  COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/Debian/changelog ${PROJECT_SOURCE_DIR}/CHANGELOG.md ${PROJECT_VERSION}
    "${maintainer}" ${debian}/changelog
  COMMAND gzip -9nf ${debian}/changelog
  DEPENDS ${PROJECT_SOURCE_DIR}/CHANGELOG.md Debian/changelog ${CMAKE_BINARY_DIR}/generated/NimbrelVersion.h VERBATIM)
add_custom_target(nimbrel_debian_changelog ALL DEPENDS ${debian}/changelog.gz)
install(FILES ${debian}/copyright ${debian}/changelog.gz DESTINATION ${document_folder})

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME nimbrel)
set(CPACK_PACKAGE_VENDOR velmaris)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "renderer and effect plug-in for 3D Gaussian splats")
set(CPACK_PACKAGE_DESCRIPTION
"Nimbrel draws models of 3D Gaussian splats through a camera and writes
the frames as PNG or OpenEXR. Every splat can be cropped, recoloured,
faded, scaled, displaced and torn apart by noise, and every setting can be
animated.
.
This package holds nimbrel-render, a program for the command line and for
render farms, the effect library that it loads, and small tools. A GPU
with Vulkan is used if there is one, otherwise the processor renders.")
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${maintainer}")
set(CPACK_DEBIAN_PACKAGE_SECTION graphics)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# What is loaded only if it is there: GPUs, and the panel's typeface.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "libvulkan1, fonts-inter")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
include(CPack)
