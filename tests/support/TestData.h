#pragma once

#include <string>

// Reads a file under tests/data; fails the current test (and returns "") when it cannot.
std::string ReadTestData(const std::string& relativePath);
