// A GoogleTest fixture for tests that run in the VM: the VM has the test classes on its class
// path, and whatever it prints during a test (a JNI check report above all) fails the test;
// what it printed while starting does not.
#pragma once

#include "PHostJvm.h"

#include <gtest/gtest.h>

namespace kelmortest {

class JvmTest : public ::testing::Test {
protected:
    // In the constructor, so that a derived fixture's members may already use the VM.
    JvmTest()
    {
        static const bool configured = [] {
            PHostJvmOptions options = PHostJvm::defaultOptions();
            options.classPath += std::string(":") + KELMOR_TEST_JAR;
            return PHostJvm::configure(options);
        }();
        (void)configured;
        PHostJvm::vm();
    }
    void SetUp() override { PHostJvm::takeOutput(); }
    void TearDown() override
    {
        const std::string output = PHostJvm::takeOutput();
        EXPECT_EQ(output, "") << "the VM reported:\n" << output;
    }
};

}
