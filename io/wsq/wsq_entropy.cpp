// Huffman tables and the entropy-coded data of one block.
#include "wsq.h"

namespace kovral_io::wsq_detail {

namespace {

// Symbols of the coefficient alphabet.
constexpr int kLongestRunSymbol = 100; // 1..100: a run of that many zeros
constexpr int kPositive8 = 101;
constexpr int kNegative8 = 102;
constexpr int kPositive16 = 103;
constexpr int kNegative16 = 104; // the last escape: 101..104 are values, 105..106 runs
constexpr int kRun8 = 105;
constexpr int kRun16 = 106;
constexpr int kValueBias = 180; // 107..254: the coefficient symbol - 180

// Bits MSB first from a byte range; reads past the end give zeros, which the
// caller never trusts (it compares code lengths with the bits left).
class BitReader
{
public:
    BitReader(const uint8_t* begin, const uint8_t* end) : p_(begin), end_(end), left_(uint64_t(end - begin) * 8) { }

    uint64_t left() const { return left_; }

    // The next 16 bits, left-aligned in the low 16 bits of the result.
    uint32_t Peek16()
    {
        Fill();
        return uint32_t(acc_ >> 48);
    }

    void Skip(int n)
    {
        acc_ <<= n;
        avail_ -= n;
        left_ -= uint64_t(n);
    }

    uint32_t Read(int n)
    {
        Fill();
        const uint32_t v = uint32_t(acc_ >> (64 - n));
        Skip(n);
        return v;
    }

private:
    void Fill()
    {
        while (avail_ <= 56) {
            acc_ |= uint64_t(p_ < end_ ? *p_ : 0) << (56 - avail_);
            p_++;
            avail_ += 8;
        }
    }

    const uint8_t* p_;
    const uint8_t* end_;
    uint64_t left_;
    uint64_t acc_ = 0;
    int avail_ = 0;
};

// The code at the front of bits: (length << 8) | value, or 0 when no code
// of the table starts that way.
inline uint32_t LookUp(const HuffmanTable& table, uint32_t bits16)
{
    const uint32_t entry = table.fast[bits16 >> (16 - HuffmanTable::kFastBits)];
    if (entry)
        return entry;
    for (int len = HuffmanTable::kFastBits + 1; len <= kMaxCodeLength; len++) {
        const int32_t code = int32_t(bits16 >> (16 - len));
        if (code <= table.maxCode[len])
            return uint32_t(len) << 8 | table.values[table.valueOffset[len] + code];
    }
    return 0;
}

} // namespace

bool BuildHuffmanTable(const uint8_t counts[kMaxCodeLength], const uint8_t* values, HuffmanTable& table,
                       std::string& error)
{
    int total = 0;
    for (int i = 0; i < kMaxCodeLength; i++)
        total += counts[i];
    if (total > 256) {
        error = "WSQ: Huffman table with " + std::to_string(total) + " values (at most 256)";
        return false;
    }
    table = HuffmanTable{};
    for (int i = 0; i < total; i++)
        table.values[i] = values[i];

    // Canonical codes: consecutive within a length, doubled on each longer one.
    int32_t code = 0;
    int first = 0;
    for (int len = 1; len <= kMaxCodeLength; len++) {
        const int n = counts[len - 1];
        if (code + n > (int32_t(1) << len)) {
            error = "WSQ: Huffman table holds more codes of " + std::to_string(len) + " bits than fit";
            return false;
        }
        table.maxCode[len] = n ? code + n - 1 : -1;
        table.valueOffset[len] = first - code;
        for (int k = 0; k < n && len <= HuffmanTable::kFastBits; k++) {
            const int shift = HuffmanTable::kFastBits - len;
            const uint16_t entry = uint16_t(len << 8 | values[first + k]);
            for (int32_t j = (code + k) << shift; j < (code + k + 1) << shift; j++)
                table.fast[j] = entry;
        }
        first += n;
        code = (code + n) << 1;
    }
    table.defined = true;
    return true;
}

bool DecodeBlock(const EntropyData& data, const HuffmanTable& table, int32_t* coefficients, size_t count,
                 size_t& next, std::string& error)
{
    const auto tooMany = [&error] {
        error = "WSQ: more coefficients than the subbands hold";
        return false;
    };
    size_t at = next;
    // Restart markers cut the data into intervals that each start on a byte.
    for (size_t seg = 0; seg <= data.restarts.size(); seg++) {
        const size_t from = seg == 0 ? 0 : data.restarts[seg - 1];
        const size_t to = seg < data.restarts.size() ? data.restarts[seg] : data.bytes.size();
        BitReader bits(data.bytes.data() + from, data.bytes.data() + to);
        while (bits.left() > 0) {
            const uint32_t peek = bits.Peek16();
            const uint32_t entry = LookUp(table, peek);
            const int len = int(entry >> 8);
            if (entry == 0 || uint64_t(len) > bits.left()) {
                // No complete code: only the 1-bit padding of the last byte may be left.
                const uint64_t left = bits.left();
                if (left < 8 && peek >> (16 - left) == (1u << left) - 1)
                    break;
                error = left < 16 && entry != 0 ? "WSQ: entropy-coded data ends inside a code"
                                                : "WSQ: bits that match no Huffman code";
                return false;
            }
            bits.Skip(len);
            const int symbol = int(entry & 0xff);
            if (symbol >= 1 && symbol <= kLongestRunSymbol) {
                if (size_t(symbol) > count - at)
                    return tooMany();
                at += size_t(symbol);
                continue;
            }
            if (symbol == 0 || symbol == 255) {
                error = "WSQ: invalid coefficient symbol " + std::to_string(symbol);
                return false;
            }
            static_assert(kNegative16 + 1 == kRun8);
            if (symbol > kRun16) {
                if (at >= count)
                    return tooMany();
                coefficients[at++] = symbol - kValueBias;
                continue;
            }
            const int extra = symbol == kPositive8 || symbol == kNegative8 || symbol == kRun8 ? 8 : 16;
            if (uint64_t(extra) > bits.left()) {
                error = "WSQ: escape cut off by the end of the entropy-coded data";
                return false;
            }
            const uint32_t v = bits.Read(extra);
            if (symbol == kRun8 || symbol == kRun16) {
                if (v > count - at)
                    return tooMany();
                at += v;
                continue;
            }
            if (at >= count)
                return tooMany();
            coefficients[at++] = symbol == kPositive8 || symbol == kPositive16 ? int32_t(v) : -int32_t(v);
        }
    }
    next = at;
    return true;
}

} // namespace kovral_io::wsq_detail
