// The contract of the platform, on the virtual PC.
#include "check/contract.h"

#include <gtest/gtest.h>

#include "platform/virtual/demo_world.h"

TEST(Contract, HoldsOnTheVirtualPc) {
  for (const ContractCase& contractCase : kContract) {
    SCOPED_TRACE(contractCase.name);
    VirtualPc pc;
    demo::Make(pc);
    Platform platform = pc.platform();
    EXPECT_EQ(RunCase(contractCase, platform, "C:\\Temp\\"), "");
    EXPECT_TRUE(pc.OpenHandles().empty());
  }
}
