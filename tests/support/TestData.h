#pragma once

#include <string>

// A whole file as bytes; "" when it cannot be read.
std::string ReadFile(const std::string& path);

// Reads a file under tests/data; fails the current test (and returns "") when it cannot.
std::string ReadTestData(const std::string& relativePath);
