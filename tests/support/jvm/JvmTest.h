// A GoogleTest fixture for tests that run in the VM: whatever the VM prints during a test
// (a JNI check report above all) fails it; what it printed while starting does not.
#pragma once

#include "KelmorJvm.h"

#include <gtest/gtest.h>

namespace kelmortest {

class JvmTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        jvm();
        takeJvmOutput();
    }
    void TearDown() override
    {
        const std::string output = takeJvmOutput();
        EXPECT_EQ(output, "") << "the VM reported:\n" << output;
    }
};

}
