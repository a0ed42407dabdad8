#include "platform/linux/LinuxBundle.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "Configuration.h"
#include "foundation/Dictionary.h"
#include "platform/linux/LinuxEntitlements.h"

namespace kelpie {
namespace {

TEST(LinuxBundle, BearsTheNamesOfThisBuild) {
  const LinuxBundle bundle("/images");
  EXPECT_EQ(bundle.identifier(), kExtensionIdentifier);
  EXPECT_EQ(bundle.applicationIdentifier(), kApplicationIdentifier);
  EXPECT_EQ(bundle.infoString("CFBundleIdentifier"), kExtensionIdentifier);
  EXPECT_EQ(bundle.infoString("CFBundleVersion"), kVersion);
  EXPECT_EQ(bundle.infoString("CFBundleName"), std::nullopt);
  EXPECT_FALSE(bundle.hasSystemSymbols());
}

TEST(LinuxBundle, TheNamesThatOtherProgramsRelyOn) {
  EXPECT_EQ(kApplicationGroup, "group.org.kelpie");
  EXPECT_EQ(kApplicationIdentifier, "org.kelpie.Kelpie");
  EXPECT_EQ(kExtensionIdentifier, "org.kelpie.Kelpie.Sync");
}

TEST(LinuxBundle, ImagesAreFilesBesideTheFolderOfTheProgram) {
  EXPECT_EQ(LinuxBundle("/images").imageFile("TagImage"), "/images/TagImage.svg");
  const auto program = std::filesystem::read_symlink("/proc/self/exe");
  EXPECT_EQ(LinuxBundle::installedImagesFolder(),
            program.parent_path().parent_path() / "share/kelpie/images");
}

TEST(LinuxEntitlements, ThisBuildHasItsApplicationGroup) {
  const LinuxEntitlements entitlements;
  const EntitlementReading reading =
      entitlements.valueForEntitlement("com.apple.security.application-groups");
  EXPECT_TRUE(reading.taskMade);
  EXPECT_EQ(reading.value.size(), 1U);
  EXPECT_EQ(reading.value.at(0).stringValue(), kApplicationGroup);
  EXPECT_TRUE(entitlements.valueForEntitlement("another").value.isNil());
}

TEST(LinuxEntitlements, AnotherTableCanBeHandedIn) {
  const LinuxEntitlements entitlements(Dictionary{{"some.entitlement", true}});
  EXPECT_TRUE(entitlements.valueForEntitlement("some.entitlement").value.boolValue());
  EXPECT_TRUE(
      entitlements.valueForEntitlement("com.apple.security.application-groups").value.isNil());
}

}  // namespace
}  // namespace kelpie
