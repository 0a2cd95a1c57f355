#include "binding.h"

#include <kovral.h>
#include <pybind11/numpy.h>
#include <pybind11/stl.h>

#include <array>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace py = pybind11;

namespace kovral_python {

namespace {

constexpr int32_t kDefaultFingerWidth = 320;
constexpr int32_t kDefaultFingerHeight = 480;
constexpr int32_t kMinFingerWidth = 256;
constexpr int32_t kMinFingerHeight = 360;

struct SplitterFree
{
    void operator()(kovral_splitter* splitter) const { kovral_splitter_free(splitter); }
};
using SplitterPtr = std::unique_ptr<kovral_splitter, SplitterFree>;

struct Size
{
    int32_t width = 0;
    int32_t height = 0;
};

// One finger of a split as Python sees it.
struct Finger
{
    py::array_t<uint8_t> image; // (height, width), its own memory
    int32_t x = 0;
    int32_t y = 0;
    int32_t angle = 0;
    int32_t quality = 0;
    int32_t confidence = 0;
    uint32_t flags = 0;
    std::array<tagPOINT, 4> corners{};
};

std::string Range(int64_t low, int64_t high)
{
    return std::to_string(low) + ".." + std::to_string(high);
}

// Throws ValueError "<what> <value> is outside <low>..<high>" unless value is in range.
int32_t CheckRange(const char* what, int64_t value, int64_t low, int64_t high)
{
    if (value < low || value > high)
        throw py::value_error(std::string(what) + " " + std::to_string(value) + " is outside " + Range(low, high));
    return static_cast<int32_t>(value);
}

Size CheckMaxSize(std::pair<int64_t, int64_t> size)
{
    return {CheckRange("max width", size.first, KOVRAL_MIN_WIDTH, KOVRAL_MAX_WIDTH),
            CheckRange("max height", size.second, KOVRAL_MIN_HEIGHT, KOVRAL_MAX_HEIGHT)};
}

int32_t ParseLocator(const std::string& name)
{
    if (name == "exact")
        return KOVRAL_LOCATOR_EXACT;
    if (name == "accurate")
        return KOVRAL_LOCATOR_ACCURATE;
    throw py::value_error("locator '" + name + "' is not one of 'exact', 'accurate'");
}

// A request checked against the limits of a split, so that a refusal names
// the limit it broke; the pixels are C-contiguous (copied only when the
// caller's array is not).
struct Request
{
    py::array_t<uint8_t, py::array::c_style> pixels;
    Size image;
    kovral_split_options options{};
};

Request CheckRequest(const py::handle& image, std::pair<int64_t, int64_t> fingerSize, const std::string& locator)
{
    if (!py::isinstance<py::array>(image))
        throw py::type_error("image must be a numpy array of uint8, not "
                             + std::string(py::str(image.get_type().attr("__name__"))));
    auto array = py::reinterpret_borrow<py::array>(image);
    if (!array.dtype().is(py::dtype::of<uint8_t>()))
        throw py::type_error("image must be an array of uint8, not " + std::string(py::str(array.dtype())));
    if (array.ndim() != 2)
        throw py::value_error("image must be 2-D (rows, columns), not " + std::to_string(array.ndim()) + "-D");

    Request request;
    request.image.width = CheckRange("width", array.shape(1), KOVRAL_MIN_WIDTH, KOVRAL_MAX_WIDTH);
    request.image.height = CheckRange("height", array.shape(0), KOVRAL_MIN_HEIGHT, KOVRAL_MAX_HEIGHT);
    request.options.finger_width = CheckRange("finger width", fingerSize.first, kMinFingerWidth, request.image.width);
    request.options.finger_height
        = CheckRange("finger height", fingerSize.second, kMinFingerHeight, request.image.height);
    request.options.locator = ParseLocator(locator);
    request.pixels = py::array_t<uint8_t, py::array::c_style>::ensure(array);
    if (!request.pixels)
        throw py::error_already_set();
    return request;
}

[[noreturn]] void ThrowSplitFailure(int32_t result, const Request& request, Size capacity)
{
    if (result == KOVRAL_ENOMEM)
        throw std::bad_alloc();
    if (result == KOVRAL_ETOOBIG)
        throw py::value_error("image " + std::to_string(request.image.width) + " x "
                              + std::to_string(request.image.height) + " is larger than the splitter's "
                              + std::to_string(capacity.width) + " x " + std::to_string(capacity.height));
    // Every size was checked before the split: a refusal left is the locator's.
    if (result == KOVRAL_EINVAL && request.options.locator != KOVRAL_LOCATOR_EXACT)
        throw py::value_error("locator 'accurate' is not in this build of the library");
    throw py::value_error(std::string("split refused: ") + kovral_result_text(result));
}

// Splits with the GIL released. lock (may be null) keeps two threads off one
// splitter; it is taken only after the GIL is let go, so that a thread
// waiting for it never blocks the interpreter.
std::vector<Finger> RunSplit(kovral_splitter* splitter, std::mutex* lock, const Request& request, Size capacity)
{
    const kovral_split_options& options = request.options;
    std::array<py::array_t<uint8_t>, KOVRAL_MAX_FINGERS> images;
    kovral_finger fingers[KOVRAL_MAX_FINGERS] = {};
    for (int i = 0; i < KOVRAL_MAX_FINGERS; i++) {
        images[i] = py::array_t<uint8_t>({options.finger_height, options.finger_width});
        fingers[i].image = images[i].mutable_data();
    }
    int32_t count = 0;
    int32_t result;
    {
        py::gil_scoped_release released;
        std::unique_lock<std::mutex> guard;
        if (lock)
            guard = std::unique_lock<std::mutex>(*lock);
        result = kovral_split(splitter, request.pixels.data(), request.image.width, request.image.height, &options,
                              fingers, &count, nullptr);
    }
    if (result != KOVRAL_OK)
        ThrowSplitFailure(result, request, capacity);

    std::vector<Finger> out;
    for (int32_t i = 0; i < count && i < KOVRAL_MAX_FINGERS; i++) {
        const kovral_finger& f = fingers[i];
        Finger finger{images[i], f.x, f.y, f.angle, f.quality, f.confidence, f.flags, {}};
        kovral_finger_corners(request.image.width, request.image.height, options.finger_width, options.finger_height,
                              f.x, f.y, f.angle, finger.corners.data());
        out.push_back(std::move(finger));
    }
    return out;
}

// A splitter of its own for Python's kovral.Splitter; one split at a time.
class Splitter
{
public:
    explicit Splitter(std::pair<int64_t, int64_t> maxSize) : capacity_(CheckMaxSize(maxSize))
    {
        splitter_.reset(kovral_splitter_new(capacity_.width, capacity_.height));
        if (!splitter_)
            throw std::bad_alloc();
    }

    std::vector<Finger> Split(const py::handle& image, std::pair<int64_t, int64_t> fingerSize,
                              const std::string& locator)
    {
        Request request = CheckRequest(image, fingerSize, locator);
        if (request.image.width > capacity_.width || request.image.height > capacity_.height)
            ThrowSplitFailure(KOVRAL_ETOOBIG, request, capacity_);
        return RunSplit(splitter_.get(), &lock_, request, capacity_);
    }

    std::pair<int32_t, int32_t> MaxSize() const { return {capacity_.width, capacity_.height}; }

private:
    Size capacity_;
    SplitterPtr splitter_;
    std::mutex lock_;
};

// Splitters of the largest size for kovral.split, one per thread splitting
// at the same time, kept for the next call.
class SplitterPool
{
public:
    SplitterPtr Take()
    {
        {
            std::lock_guard<std::mutex> guard(lock_);
            if (!idle_.empty()) {
                SplitterPtr splitter = std::move(idle_.back());
                idle_.pop_back();
                return splitter;
            }
        }
        SplitterPtr splitter(kovral_splitter_new(KOVRAL_MAX_WIDTH, KOVRAL_MAX_HEIGHT));
        if (!splitter)
            throw std::bad_alloc();
        return splitter;
    }

    void Give(SplitterPtr splitter)
    {
        std::lock_guard<std::mutex> guard(lock_);
        idle_.push_back(std::move(splitter));
    }

private:
    std::mutex lock_;
    std::vector<SplitterPtr> idle_;
};

SplitterPool& Pool()
{
    // Never destroyed: threads may still split while the interpreter exits.
    static SplitterPool* pool = new SplitterPool;
    return *pool;
}

std::vector<Finger> SplitPooled(const py::handle& image, std::pair<int64_t, int64_t> fingerSize,
                                const std::string& locator)
{
    Request request = CheckRequest(image, fingerSize, locator);
    SplitterPtr splitter = Pool().Take();
    std::vector<Finger> fingers;
    try {
        fingers = RunSplit(splitter.get(), nullptr, request, {KOVRAL_MAX_WIDTH, KOVRAL_MAX_HEIGHT});
    } catch (...) {
        Pool().Give(std::move(splitter));
        throw;
    }
    Pool().Give(std::move(splitter));
    return fingers;
}

py::object Hand(const std::vector<const Finger*>& fingers)
{
    if (fingers.size() != KOVRAL_MAX_FINGERS)
        throw py::value_error("the hand layout needs 4 fingers, not " + std::to_string(fingers.size()));
    kovral_finger records[KOVRAL_MAX_FINGERS] = {};
    for (int i = 0; i < KOVRAL_MAX_FINGERS; i++) {
        records[i].x = fingers[i]->x;
        records[i].y = fingers[i]->y;
        records[i].angle = fingers[i]->angle;
    }
    int32_t judgement = kovral_judge_hand(records, KOVRAL_MAX_FINGERS);
    if (judgement == KOVRAL_JUDGE_LEFT)
        return py::str("right");
    if (judgement == KOVRAL_JUDGE_RIGHT)
        return py::str("left");
    return py::none();
}

py::tuple Point(const tagPOINT& p)
{
    return py::make_tuple(p.x, p.y);
}

constexpr const char* kFingerSizeDoc = "finger_size: (width, height) of every finger image, at least 256 x 360 and "
                                       "no larger than the image.\n";
constexpr const char* kLocatorDoc
    = "locator: 'accurate' (default) or 'exact' (the library's classic results, bit for bit).\n";

} // namespace

void RegisterSplitting(py::module_& m)
{
    m.attr("MIN_WIDTH") = KOVRAL_MIN_WIDTH;
    m.attr("MAX_WIDTH") = KOVRAL_MAX_WIDTH;
    m.attr("MIN_HEIGHT") = KOVRAL_MIN_HEIGHT;
    m.attr("MAX_HEIGHT") = KOVRAL_MAX_HEIGHT;
    m.attr("FINGER_CUT_BY_BORDER") = KOVRAL_FINGER_CUT_BY_BORDER;
    m.attr("FINGER_TOUCHING") = KOVRAL_FINGER_TOUCHING;
    m.attr("FINGER_FAINT") = KOVRAL_FINGER_FAINT;

    py::class_<Finger>(m, "Finger",
                       "One finger of a split: the upright finger image and where it was found.\n\n"
                       "Centres are in source pixels (x to the right, y down, from the top-left corner); "
                       "the angle is the finger axis in degrees, 90 upright, below 90 leaning right.")
        .def_readonly("image", &Finger::image,
                      "Upright finger image, uint8 array of shape (finger height, finger width) owning its memory.")
        .def_property_readonly(
            "center", [](const Finger& f) { return py::make_tuple(f.x, f.y); }, "(x, y) in source pixels.")
        .def_readonly("angle", &Finger::angle, "Axis angle in degrees, 90 upright, below 90 leaning right.")
        .def_readonly("quality", &Finger::quality,
                      "0..99; 0 when the centre lies outside columns 110..1450 or rows 310..1320.")
        .def_readonly("confidence", &Finger::confidence, "0..100 that this is a finger (always 100 with 'exact').")
        .def_readonly("flags", &Finger::flags,
                      "FINGER_CUT_BY_BORDER | FINGER_TOUCHING | FINGER_FAINT bits "
                      "(set by the 'accurate' locator).")
        .def_property_readonly(
            "corners",
            [](const Finger& f) {
                return py::make_tuple(Point(f.corners[0]), Point(f.corners[1]), Point(f.corners[2]),
                                      Point(f.corners[3]));
            },
            "Corners (top-left, top-right, bottom-left, bottom-right; top is the fingertip end) of the region "
            "cut out of the source, as (x, y).")
        .def("__repr__", [](const Finger& f) {
            return "Finger(center=(" + std::to_string(f.x) + ", " + std::to_string(f.y)
                + "), angle=" + std::to_string(f.angle) + ", quality=" + std::to_string(f.quality) + ")";
        });

    py::class_<Splitter>(m, "Splitter",
                         "A splitter that keeps its working memory between splits.\n\n"
                         "Made for images up to max_size = (width, height); splits on different splitters run "
                         "in parallel on different threads (the GIL is released), splits on one splitter one "
                         "after the other.")
        .def(py::init<std::pair<int64_t, int64_t>>(),
             py::arg("max_size") = std::make_pair(KOVRAL_MAX_WIDTH, KOVRAL_MAX_HEIGHT),
             "max_size: (width, height) of the largest image, 256..1600 x 360..1500.\n"
             "Raises ValueError outside those limits, MemoryError when the memory cannot be had.")
        .def_property_readonly("max_size", &Splitter::MaxSize, "(width, height) of the largest image it takes.")
        .def("split", &Splitter::Split, py::arg("image"),
             py::arg("finger_size") = std::make_pair(kDefaultFingerWidth, kDefaultFingerHeight),
             py::arg("locator") = "accurate",
             (std::string("Splits a slap image into upright fingers, left to right.\n\n"
                          "image: 2-D uint8 array (rows, columns), 256..1600 wide and 360..1500 high, any "
                          "strides (copied only when not C-contiguous).\n")
              + kFingerSizeDoc + kLocatorDoc
              + "Returns a list of up to four Finger. Raises ValueError naming the broken limit, TypeError for "
                "a non-uint8 image, MemoryError when memory runs out.")
                 .c_str());

    m.def("split", &SplitPooled, py::arg("image"),
          py::arg("finger_size") = std::make_pair(kDefaultFingerWidth, kDefaultFingerHeight),
          py::arg("locator") = "accurate",
          (std::string("Splits a slap image into upright fingers, left to right.\n\n"
                       "image: 2-D uint8 array (rows, columns), 256..1600 wide and 360..1500 high, any strides "
                       "(copied only when not C-contiguous).\n")
           + kFingerSizeDoc + kLocatorDoc
           + "Returns a list of up to four Finger. Releases the GIL while splitting, so threads split in "
             "parallel. Raises ValueError naming the broken limit (\"width 1601 is outside 256..1600\"), "
             "TypeError for a non-uint8 image, MemoryError when memory runs out.")
              .c_str());

    m.def("hand", &Hand, py::arg("fingers"),
          "Hand layout of a four-finger split (the fingers in the order the split gave them).\n\n"
          "The centres are turned so that the mean angle stands upright, then the highest and the lowest "
          "finger are compared: 'right' when the highest comes before (left of) the lowest, as a right hand "
          "lies; 'left' when it comes after; None when undecidable. Raises ValueError unless there are 4.");
}

} // namespace kovral_python
