#include "SampleDevices.h"

#include <gtest/gtest.h>

std::unique_ptr<CDeviceFile> LoadDevice(const std::string& name) {
    std::string error;
    auto device = CDeviceFile::Load(std::string(PELMOR_TEST_DATA_DIR) + "/devices/" + name + ".json", error);
    EXPECT_TRUE(device) << error;
    return device;
}
