// Whole files as bytes, and integers written into byte strings: for tests that
// read what was written, or build and damage files field by field.
#ifndef KOVRAL_TESTS_SUPPORT_TEST_BYTES_H
#define KOVRAL_TESTS_SUPPORT_TEST_BYTES_H

#include <cstddef>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace kovral_test {

// The file's bytes; empty when it cannot be read.
inline std::vector<uint8_t> ReadBytes(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return std::vector<uint8_t>(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// v in the `bytes` bytes from `at`, least significant first (BMP) or last (WSQ, ANSI/NIST-ITL).
inline void PutLittleEndian(std::vector<uint8_t>& b, size_t at, uint32_t v, int bytes = 4)
{
    for (int i = 0; i < bytes; i++)
        b[at + i] = static_cast<uint8_t>(v >> (8 * i));
}

inline void PutBigEndian(std::vector<uint8_t>& b, size_t at, uint32_t v, int bytes = 4)
{
    for (int i = 0; i < bytes; i++)
        b[at + i] = static_cast<uint8_t>(v >> (8 * (bytes - 1 - i)));
}

} // namespace kovral_test

#endif
