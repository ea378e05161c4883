#include <gtest/gtest.h>

#include "platform/linux/x11/X11Connection.h"
#include "platform/unix/ProgramStart.h"

int main(int argc, char** argv) {
  quorvin::prepareProcess();
  quorvin::nameDisplayAuthority();
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
