#include <gtest/gtest.h>

#include "platform/linux/DisplayAuthority.h"

int main(int argc, char** argv) {
  quorvin::nameDisplayAuthority();
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
