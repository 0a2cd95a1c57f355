// Work memory of the split stages. A stage takes each of its work buffers
// from a WorkMemory for as long as it runs. A splitter's memory keeps its
// buffers from split to split, reserved when the splitter is made, so that
// a split allocates nothing; the one-off memory of an exported stage
// function (and of KOVRAL_DoSplit) allocates a buffer when it is taken and
// releases it when it is given back, as the stages always did. Nothing
// throws: a buffer that cannot be had is null, and every stage says what it
// does then.
#ifndef KOVRAL_WORK_MEMORY_H
#define KOVRAL_WORK_MEMORY_H

#include <cstddef>
#include <memory>
#include <new>

enum class WorkBuffer
{
    DirectionGrid, // probe marks of the direction map scan
    CentredMap,    // a region centred for its angle search
    TurnedMap,     // the working map turned by the fingers' mean angle
    TurnedFinger,  // work rows of one finger's box turned upright
    FingerScratch, // a finger's cleaned copy
    MaskRowBands,  // the finger area mask's work arrays
    MaskColumnBands,
    MaskRowReach,
    MaskColumnReach,
    MaskProbeCounts,
    MaskColumnDark,
    MaskWindowDark,
    MaskKeepTop,
    MaskKeepBottom,
    Count
};

class WorkMemory
{
public:
    enum Kind
    {
        ONE_OFF, // allocated when taken, released when given back
        KEPT     // kept and reused; grows only when a request exceeds it
    };

    explicit WorkMemory(Kind kind) : kind_(kind) { }

    // Makes sure buffer b holds bytes (kept memory). False when it cannot.
    bool Reserve(WorkBuffer b, std::size_t bytes)
    {
        Slot& slot = slots_[static_cast<int>(b)];
        if (slot.bytes >= bytes)
            return true;
        slot.cells.reset(new (std::nothrow) unsigned char[bytes]);
        slot.bytes = slot.cells ? bytes : 0;
        return slot.cells != nullptr;
    }

    // Buffer b with room for bytes, contents undefined; null when it cannot
    // be had.
    unsigned char* Take(WorkBuffer b, std::size_t bytes)
    {
        return Reserve(b, bytes) ? slots_[static_cast<int>(b)].cells.get() : nullptr;
    }

    void Give(WorkBuffer b)
    {
        if (kind_ == ONE_OFF)
            slots_[static_cast<int>(b)] = Slot{};
    }

private:
    struct Slot
    {
        std::unique_ptr<unsigned char[]> cells;
        std::size_t bytes = 0;
    };

    Kind kind_;
    Slot slots_[static_cast<int>(WorkBuffer::Count)];
};

// A work buffer of count elements of T, taken from memory for the lifetime
// of the object. Test it before use: it is empty when the memory could not
// be had.
template <typename T>
class WorkLease
{
public:
    WorkLease(WorkMemory& memory, WorkBuffer b, std::size_t count)
        : memory_(memory), b_(b), cells_(reinterpret_cast<T*>(memory.Take(b, count * sizeof(T))))
    { }
    ~WorkLease() { memory_.Give(b_); }
    WorkLease(const WorkLease&) = delete;
    WorkLease& operator=(const WorkLease&) = delete;

    explicit operator bool() const { return cells_ != nullptr; }
    T* get() const { return cells_; }
    T& operator[](std::size_t i) const { return cells_[i]; }

private:
    WorkMemory& memory_;
    WorkBuffer b_;
    T* cells_;
};

#endif
