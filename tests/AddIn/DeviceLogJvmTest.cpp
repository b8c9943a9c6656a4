// The Java side of the device log in a real VM: the log's tag and file reach the Java logger.
#include "Device.h"

#include "../strake/Android/PJNITestFixture.h"
#include "RecordingDevice.h"

#include <gtest/gtest.h>

#include <unistd.h>

namespace {

class DeviceLogJvmTest : public kelmortest::PJNITest {
protected:
    static std::string javaLogger(const char* getter)
    {
        PJNIClass logger = PJNIHelper::getClass(PString("com.tavrel.strake.PLogger"));
        return logger.callStaticStringMethod(PString(getter), "()Ljava/lang/String;").toStdString();
    }
    kelmortest::FactoryScope scope{std::make_shared<kelmortest::RecordingFactory>()};
};

TEST_F(DeviceLogJvmTest, javaLogGetsTheTagAndTheFileBesideOurs)
{
    PPropertyBag settings = kelmortest::bag({{"BluetoothDevice", PVariant("00:11:22:33:44:55")}, {"LogType", PVariant(1)}});
    Device device;
    ASSERT_TRUE(device.open(settings, [](PEvent*) {}, [](const PError&) {}));
    EXPECT_EQ(javaLogger("getTag"), "Kelmor");

    const std::string base = ::testing::TempDir() + "kelmor_jvm_log_" + std::to_string(::getpid());
    settings.setValue("LogType", PVariant(0));
    settings.addValue("LogFilePath", PVariant(base + ".txt"));
    ASSERT_TRUE(device.open(settings, [](PEvent*) {}, [](const PError&) {}));
    EXPECT_EQ(javaLogger("getLogFile"), base + "_java.txt");
    device.close();
    std::remove((base + ".txt").c_str());
    std::remove((base + "_java.txt").c_str());
}

}
