#include "agent/actions/KeptChanges.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "agent/git/AnsweringGit.h"

namespace kelpie::agent {
namespace {

const std::string kReference = "refs/kelpie/kept/main/00000001";
const std::string kOid(40, 'a');

// The newest record, where its manifest is this text.
std::variant<std::optional<KeptChanges::Record>, std::string> newestWith(std::string manifest) {
  const std::string tree = "100644 blob " + kOid + "       3\tfiles/f" +
                           '\0' +  // the content of "f"
                           "100644 blob " + kOid + "       9\tstate/items" + '\0';
  return KeptChanges(
             answeringGit("/r", {kReference + "\n", kOid + "\n", tree, std::move(manifest)}),
             {"/r", "/r/.git", "/r/.git", false})
      .newest();
}

TEST(KeptChanges, ARecordIsReadAsItWasWritten) {
  const auto newest = newestWith("F 420 1 100644 " + kOid + "\tf" + '\0');
  const auto* record = std::get_if<std::optional<KeptChanges::Record>>(&newest);
  ASSERT_TRUE(record != nullptr && *record);
  ASSERT_EQ((*record)->items.size(), 1U);
  const KeptChanges::Item& item = (*record)->items.at("f");
  EXPECT_EQ(item.kind, KeptChanges::Item::Kind::File);
  EXPECT_EQ(item.mode, 0644U);
  EXPECT_TRUE(item.isIntended);
  EXPECT_EQ(item.target, (TreeEntry{"100644", kOid}));
  EXPECT_EQ(item.blob, kOid);
}

TEST(KeptChanges, ARecordWhoseManifestLacksFieldsIsRefused) {
  const std::string whole = "F 420 1 100644 " + kOid + "\tf";
  for (const std::string& line :
       {std::string("F\tf"), std::string("F 420\tf"), std::string("F 420 1\tf"),
        std::string("F 420 1 100644\tf"), std::string("\tf"), std::string("f"), whole}) {
    const std::string manifest = line == whole ? line : line + '\0';
    EXPECT_TRUE(std::holds_alternative<std::string>(newestWith(manifest))) << line;
  }
}

}  // namespace
}  // namespace kelpie::agent
