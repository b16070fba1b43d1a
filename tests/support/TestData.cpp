#include "TestData.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#ifndef PELMOR_TEST_DATA_DIR
#define PELMOR_TEST_DATA_DIR "tests/data"
#endif

std::string ReadTestData(const std::string& relativePath) {
    const std::string path = std::string(PELMOR_TEST_DATA_DIR) + "/" + relativePath;
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        ADD_FAILURE() << "cannot read test data " << path;
        return std::string();
    }
    std::ostringstream content;
    content << in.rdbuf();
    return content.str();
}
