#include "tests/contract/FlutterContract.h"

namespace quorvin::contract {

UiReply FlutterContract::replyTo(const Record<UiReply>& replies) {
  EXPECT_TRUE(runUntil([&] { return replies.size() == 1; })) << "no reply";
  world->settle();
  EXPECT_EQ(replies.size(), 1U);
  return replies.size() == 0 ? UiReply() : replies.all()[0];
}

}  // namespace quorvin::contract
