// Reads a fuzz input front to back as small integers. Past the end every read
// gives 0, so any input, the empty one included, describes a complete case.
// The seed writer (make_seeds.py) lays its inputs out in the same order.
#ifndef KOVRAL_FUZZ_BYTES_H
#define KOVRAL_FUZZ_BYTES_H

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

class FuzzBytes
{
public:
    FuzzBytes(const uint8_t* data, size_t size) : data_(data), size_(size) { }

    uint8_t U8() { return pos_ < size_ ? data_[pos_++] : 0; }

    uint16_t U16()
    {
        const uint16_t lo = U8();
        return static_cast<uint16_t>(lo | (U8() << 8));
    }

    uint32_t U32()
    {
        const uint32_t lo = U16();
        return lo | (static_cast<uint32_t>(U16()) << 16);
    }

    int32_t I32() { return static_cast<int32_t>(U32()); }

    // lo..hi inclusive, from one byte (spans up to 256) or two.
    int Range8(int lo, int hi) { return lo + U8() % (hi - lo + 1); }
    int Range16(int lo, int hi) { return lo + U16() % (hi - lo + 1); }

    // The bytes not read yet.
    const uint8_t* Rest() const { return data_ + pos_; }
    size_t Left() const { return size_ - pos_; }

private:
    const uint8_t* data_;
    size_t size_;
    size_t pos_ = 0;
};

// A broken property: reported like a crash, so that libFuzzer keeps the input.
#define FUZZ_CHECK(cond)                                                                                             \
    do {                                                                                                             \
        if (!(cond)) {                                                                                               \
            std::fprintf(stderr, "%s:%d: property failed: %s\n", __FILE__, __LINE__, #cond);                         \
            std::abort();                                                                                            \
        }                                                                                                            \
    } while (0)

#endif
