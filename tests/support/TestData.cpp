#include "TestData.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#ifndef PELMOR_TEST_DATA_DIR
#define PELMOR_TEST_DATA_DIR "tests/data"
#endif

std::string ReadFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream content;
    content << in.rdbuf();
    return content.str();
}

std::string ReadTestData(const std::string& relativePath) {
    const std::string path = std::string(PELMOR_TEST_DATA_DIR) + "/" + relativePath;
    if (!std::ifstream(path)) {
        ADD_FAILURE() << "cannot read test data " << path;
        return std::string();
    }
    return ReadFile(path);
}
