#include "refs/KPPullRequests.h"

#include <gtest/gtest.h>

#include "refs/ArchiveRoundTrip.h"

namespace kelpie {
namespace {

TEST(KPPullRequests, NewOneHasItsTypeAndNoName) {
  const KPPullRequests requests;
  EXPECT_EQ(requests.type(), 6);
  EXPECT_EQ(requests.name(), std::nullopt);
  EXPECT_EQ(requests.comments(), nullptr);
}

TEST(KPPullRequests, NewOneWithAnotherTypeKeepsItsOwnAndTheName) {
  EXPECT_EQ(KPPullRequests("#12 Fix").type(), 6);
  const KPPullRequests requests(1, "#12 Fix");
  EXPECT_EQ(requests.type(), 6);
  EXPECT_EQ(requests.name(), "#12 Fix");
}

TEST(KPPullRequests, CommentsAreSharedWithWhoeverSetThem) {
  const auto comments = std::make_shared<Dictionary>();
  KPPullRequests requests;
  requests.setComments(comments);
  comments->set("12", "fine");
  EXPECT_EQ(requests.comments()->find(std::string_view("12"))->stringValue(), "fine");
}

TEST(KPPullRequests, CommentsAreNotArchivedAndAllElseIs) {
  const auto requests = std::make_shared<KPPullRequests>("#12 Fix");
  requests->setFullName("refs/pull/12");
  requests->setOid(Bytes{1, 2});
  requests->setHead(true);
  requests->setDetached(true);
  requests->setUpstreamName("refs/heads/main");
  requests->setTag(500);
  requests->setComments(std::make_shared<Dictionary>(Dictionary{{"12", "fine"}}));
  const auto read = archivedAndRead<KPPullRequests>(Object(requests));
  ASSERT_NE(read, nullptr);
  EXPECT_EQ(read->comments(), nullptr);
  EXPECT_EQ(read->type(), 6);
  EXPECT_EQ(read->name(), "#12 Fix");
  EXPECT_EQ(read->fullName(), "refs/pull/12");
  EXPECT_EQ(read->oid(), (Bytes{1, 2}));
  EXPECT_TRUE(read->isHead());
  EXPECT_TRUE(read->isDetached());
  EXPECT_EQ(read->upstreamName(), "refs/heads/main");
  EXPECT_EQ(read->tag(), 500);
}

TEST(KPPullRequests, ArchivedWithoutATypeHasTypeZero) {
  const auto read = readFromKeys<KPPullRequests>("KPPullRequests", {});
  ASSERT_NE(read, nullptr);
  EXPECT_EQ(read->type(), 0);
}

}  // namespace
}  // namespace kelpie
