# The tests that run on a real Mac, against the real frameworks and outside of the sandbox: those of
# tests/macos and of this folder, with src/platform/macos linked in, as a bundle with its images.
set(here "${PROJECT_SOURCE_DIR}/tests/macos")
set(platform "${PROJECT_SOURCE_DIR}/src/platform/macos")
file(GLOB sources CONFIGURE_DEPENDS
  "${here}/*.mm" "${here}/mac/*.mm" "${platform}/*.mm" "${platform}/*.cpp"
  "${PROJECT_SOURCE_DIR}/tests/platform/contract/*Contract.cpp")

# The property list is the app extension's, but for what makes it one.
set(KELPIE_MINIMUM_MACOS "${CMAKE_OSX_DEPLOYMENT_TARGET}")
configure_file("${here}/mac/Info.plist.in" "${CMAKE_CURRENT_BINARY_DIR}/Info.plist.in" @ONLY)

add_executable(kelpie_macos_tests MACOSX_BUNDLE ${sources})
set_target_properties(kelpie_macos_tests PROPERTIES
  MACOSX_BUNDLE_INFO_PLIST "${CMAKE_CURRENT_BINARY_DIR}/Info.plist.in")
target_compile_options(kelpie_macos_tests PRIVATE
  "$<$<COMPILE_LANGUAGE:OBJCXX>:-fno-objc-arc>" -Wno-deprecated-declarations)
target_link_libraries(kelpie_macos_tests PRIVATE
  kelpie_warnings kelpie_test_support kelpie_extension GTest::gtest
  "-framework AppKit" "-framework CoreFoundation" "-framework FinderSync"
  "-framework Foundation" "-framework Security")

find_program(KELPIE_RSVG_CONVERT rsvg-convert REQUIRED)
add_custom_command(TARGET kelpie_macos_tests POST_BUILD
  COMMAND "${PROJECT_SOURCE_DIR}/scripts/render-images"
          "$<TARGET_BUNDLE_CONTENT_DIR:kelpie_macos_tests>/Resources"
  COMMENT "Rendering the images of the tests" VERBATIM)

add_test(NAME macos.frameworks COMMAND "$<TARGET_FILE:kelpie_macos_tests>")
set_tests_properties(macos.frameworks PROPERTIES LABELS macos TIMEOUT 300)
