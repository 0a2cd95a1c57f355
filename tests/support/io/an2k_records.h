// Building ANSI/NIST-ITL transactions in tests: tagged-field records.
#ifndef KOVRAL_TESTS_SUPPORT_AN2K_RECORDS_H
#define KOVRAL_TESTS_SUPPORT_AN2K_RECORDS_H

#include <string>
#include <utility>
#include <vector>

// A tagged record of fields (number, value); its length field counts itself.
inline std::string Tagged(int type, const std::vector<std::pair<int, std::string>>& fields)
{
    const auto text = [&](size_t length) {
        std::string s = std::to_string(type) + ".001:" + std::to_string(length);
        for (const auto& [n, v] : fields)
            s += "\x1d" + std::to_string(type) + "."
                + (n < 10        ? "00"
                       : n < 100 ? "0"
                                 : "")
                + std::to_string(n) + ":" + v;
        return s + "\x1c";
    };
    size_t length = text(0).size();
    while (text(length).size() != length)
        length = text(length).size();
    return text(length);
}

#endif
