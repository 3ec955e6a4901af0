# What people install, as CPack packs it: a ZIP, and for the product (32-bit) an installer made by NSIS.
install(TARGETS kvmon8 LIBRARY DESTINATION .)
install(TARGETS kvctl RUNTIME DESTINATION .)
install(FILES ${KV_RESOURCE_LIBRARIES} DESTINATION .)
install(FILES README.md DESTINATION docs)
install(FILES docs/user.md docs/progress-window.png docs/link-button.png docs/install-windows.md docs/translating.md
  docs/licences.md DESTINATION docs)
# The notices of what is linked in, as the compiler's packages bring them.
install(FILES /usr/share/doc/mingw-w64-common/copyright DESTINATION docs/licences RENAME mingw-w64.txt)
install(FILES /usr/share/doc/gcc-mingw-w64-base/copyright DESTINATION docs/licences RENAME gcc-runtime.txt)

set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_PACKAGE_NAME "Folvane port monitor")
set(CPACK_PACKAGE_VENDOR "Veltmoor Software, LLC")
set(CPACK_PACKAGE_VERSION_MAJOR ${PROJECT_VERSION_MAJOR})
set(CPACK_PACKAGE_VERSION_MINOR ${PROJECT_VERSION_MINOR})
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "The print port KVR8: of Folvane")
set(CPACK_PACKAGE_INSTALL_DIRECTORY "Folvane port monitor")
set(CPACK_STRIP_FILES ON)
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
  set(CPACK_PACKAGE_FILE_NAME "folvane-port-monitor-${PROJECT_VERSION}-x86")
  set(CPACK_GENERATOR "ZIP;NSIS")
else()
  set(CPACK_PACKAGE_FILE_NAME "folvane-port-monitor-${PROJECT_VERSION}-x64")
  set(CPACK_GENERATOR "ZIP")
endif()
set(CPACK_NSIS_DISPLAY_NAME "Folvane port monitor")
set(CPACK_NSIS_PACKAGE_NAME "Folvane port monitor")
set(CPACK_NSIS_INSTALL_ROOT "$PROGRAMFILES")
set(CPACK_NSIS_ENABLE_UNINSTALL_BEFORE_INSTALL OFF)
set(CPACK_NSIS_MANIFEST_DPI_AWARE ON)
set(CPACK_NSIS_INSTALLED_ICON_NAME "kvctl.exe")
# The installer's own key below the vendor's is gone by then.
set(CPACK_NSIS_DELETE_ICONS_EXTRA "  DeleteRegKey /ifempty SHCTX 'Software\\${CPACK_PACKAGE_VENDOR}'")
# The files are in place, so the program can do the rest; what it says goes to the installer's log. /S asks nothing
# and answers with the program's exit status.
set(CPACK_NSIS_EXTRA_INSTALL_COMMANDS [[
  nsExec::ExecToLog '"$INSTDIR\kvctl.exe" install'
  Pop $0
  StrCmp $0 "0" kvInstalled
  StrCmp $0 "4" kvRestart
  SetErrorLevel 2
  MessageBox MB_ICONEXCLAMATION|MB_OK 'The port monitor was copied to $INSTDIR, but "kvctl install" did not succeed (status $0). The details show why.' /SD IDOK
  Goto kvInstalled
kvRestart:
  SetRebootFlag true
kvInstalled:
]])
set(CPACK_NSIS_EXTRA_UNINSTALL_COMMANDS [[
  nsExec::ExecToLog '"$INSTDIR\kvctl.exe" remove'
  Pop $0
  StrCmp $0 "4" 0 +2
  SetRebootFlag true
]])
include(CPack)
