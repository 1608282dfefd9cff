# What `cmake --install` puts where, in GNU directories: libraries, headers, the files by which pkg-config and CMake find
# them, the command, its pages and completion.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)
set(here ${CMAKE_CURRENT_LIST_DIR})

# Names under which the libraries are linked: tvk::tvk, tvk::source.
set_target_properties(tvk_source PROPERTIES EXPORT_NAME source)
add_library(tvk::tvk ALIAS tvk)
add_library(tvk::source ALIAS tvk_source)

install(TARGETS tvk EXPORT tvk
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
        INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
if(TVK_BUILD_V3)
  install(TARGETS tvk_v3 LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/glibc-hwcaps/x86-64-v3 COMPONENT runtime NAMELINK_SKIP)
endif()
install(TARGETS tvk_source EXPORT tvk
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
        INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES include/tvk.h include/tvk_source.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)

# CMake: find_package(tvk).
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/tvk)
install(EXPORT tvk NAMESPACE tvk:: FILE tvk-targets.cmake DESTINATION ${package_dir} COMPONENT development)
configure_package_config_file(${here}/tvk-config.cmake.in ${CMAKE_CURRENT_BINARY_DIR}/tvk-config.cmake
                              INSTALL_DESTINATION ${package_dir} NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/tvk-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/tvk-config.cmake ${CMAKE_CURRENT_BINARY_DIR}/tvk-config-version.cmake
        DESTINATION ${package_dir} COMPONENT development)

# pkg-config: written at installation, since `cmake --install --prefix` may name another place than was configured.
foreach(dir lib include)
  string(TOUPPER ${dir} upper)
  cmake_path(IS_ABSOLUTE CMAKE_INSTALL_${upper}DIR absolute)
  if(absolute)
    set(pc_${dir}dir ${CMAKE_INSTALL_${upper}DIR})
  else()
    set(pc_${dir}dir \${prefix}/${CMAKE_INSTALL_${upper}DIR})
  endif()
endforeach()
foreach(package tvk tvk-source)
  set(pc ${CMAKE_CURRENT_BINARY_DIR}/${package}.pc)
  configure_file(${here}/${package}.pc.in ${pc}.in @ONLY)
  install(CODE "file(READ \"${pc}.in\" text)
string(REPLACE \"INSTALL_PREFIX\" \"\${CMAKE_INSTALL_PREFIX}\" text \"\${text}\")
file(WRITE \"${pc}\" \"\${text}\")" COMPONENT development)
  install(FILES ${pc} DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
endforeach()

install(FILES ${here}/man/tvk.3 DESTINATION ${CMAKE_INSTALL_MANDIR}/man3 COMPONENT development)
if(TARGET tvk_tool)
  # The command finds the libraries that it was installed with, wherever the tree lies.
  cmake_path(RELATIVE_PATH CMAKE_INSTALL_FULL_LIBDIR BASE_DIRECTORY ${CMAKE_INSTALL_FULL_BINDIR} OUTPUT_VARIABLE libraries)
  set_target_properties(tvk_tool PROPERTIES INSTALL_RPATH $ORIGIN/${libraries})
  install(TARGETS tvk_tool RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tools)
  install(FILES ${here}/man/tvk.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tools)
  install(FILES ${here}/completion/tvk.bash DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME tvk
          COMPONENT tools)
  install(FILES ${here}/completion/_tvk DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/site-functions COMPONENT tools)
endif()
