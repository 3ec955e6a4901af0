# What the packages hold. The program and the module of a package lie in its root, as kvctl expects; scripts/package.sh
# makes the packages of it.
install(TARGETS kvmon8 LIBRARY DESTINATION .)
install(TARGETS kvctl RUNTIME DESTINATION .)
install(FILES ${KV_RESOURCE_LIBRARIES} DESTINATION .)
install(FILES README.md DESTINATION docs)
install(FILES docs/user.md docs/progress-window.png docs/link-button.png docs/install-windows.md docs/translating.md
  docs/licences.md DESTINATION docs)
# The notices of what is linked in, as the compiler's packages bring them.
install(FILES /usr/share/doc/mingw-w64-common/copyright DESTINATION docs/licences RENAME mingw-w64.txt)
install(FILES /usr/share/doc/gcc-mingw-w64-base/copyright DESTINATION docs/licences RENAME gcc-runtime.txt)
# Inside the installer package only.
install(TARGETS installer_actions LIBRARY DESTINATION . COMPONENT installer EXCLUDE_FROM_ALL)
