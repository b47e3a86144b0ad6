# What "cmake --install" puts where a desktop looks for programs: the programs, the entry of the menu, the type of
# project files, the icon and the demo show.
include(GNUInstallDirs)
install(TARGETS marvo-headless DESTINATION "${CMAKE_INSTALL_BINDIR}")
install(FILES "${CMAKE_SOURCE_DIR}/demo/demo.mrv" DESTINATION "${CMAKE_INSTALL_DATADIR}/marvo")
if(TARGET marvo)
  install(TARGETS marvo DESTINATION "${CMAKE_INSTALL_BINDIR}")
  install(FILES "${CMAKE_SOURCE_DIR}/packaging/marvo.desktop" DESTINATION "${CMAKE_INSTALL_DATADIR}/applications")
  install(FILES "${CMAKE_SOURCE_DIR}/packaging/marvo.xml" DESTINATION "${CMAKE_INSTALL_DATADIR}/mime/packages")
  install(FILES "${CMAKE_SOURCE_DIR}/packaging/marvo.svg"
    DESTINATION "${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps")
endif()
