#include "binding.h"

#include <cli_options.h>
#include <image_decoding.h>
#include <input_files.h>
#include <progress_display.h>
#include <run_lock.h>
#include <slap_job.h>
#include <slap_outputs.h>

#include <fingerprint/fingerprint_files.h>
#include <pybind11/numpy.h>
#include <pybind11/stl.h>

#include <set>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace py = pybind11;

namespace kovral_python {

namespace {

using SizePair = std::pair<int64_t, int64_t>;

std::optional<kovral_tool::PixelSize> ToPixelSize(const std::optional<SizePair>& size, const char* what)
{
    if (!size)
        return std::nullopt;
    constexpr int64_t kLargest = 1 << 20;
    for (int64_t v : {size->first, size->second})
        if (v < 1 || v > kLargest)
            throw py::value_error(std::string(what) + " " + std::to_string(size->first) + " x "
                                  + std::to_string(size->second) + " is outside 1..1048576 x 1..1048576");
    return kovral_tool::PixelSize{static_cast<int>(size->first), static_cast<int>(size->second)};
}

// Transaction files are read whole; larger ones are refused.
constexpr uint64_t kMaxFingerprintFileBytes = uint64_t{256} << 20;

// The array takes over the pixels without a copy.
py::array_t<uint8_t> ArrayOf(int width, int height, std::vector<uint8_t>&& bytes)
{
    auto* pixels = new std::vector<uint8_t>(std::move(bytes));
    py::capsule owner(pixels, [](void* p) { delete static_cast<std::vector<uint8_t>*>(p); });
    return py::array_t<uint8_t>({height, width}, pixels->data(), owner);
}

// One image record of a transaction file, as kovral.read gives it.
struct Record
{
    py::object image = py::none(); // None when the record could not be decoded
    std::string error;             // why not
    int record = 0;
    int recordType = 0;
    int idc = -1;
    int position = 0;
    int impression = -1;
    py::object ppi = py::none();
    std::string ppiSource;
    std::string format;
    std::vector<std::pair<int, std::string>> missing;
    std::vector<std::string> notes;
};

py::object Read(const std::string& path, const std::optional<SizePair>& rawSize)
{
    std::optional<kovral_tool::PixelSize> raw = ToPixelSize(rawSize, "size");
    kovral_tool::GrayImage image;
    std::string error;
    std::vector<uint8_t> bytes;
    kovral_io::FingerprintFile file;
    bool ok, fingerprint = false;
    {
        py::gil_scoped_release released;
        ok = kovral_io::ReadFileBytes(path, kMaxFingerprintFileBytes, bytes, error);
        fingerprint = ok && kovral_io::IsFingerprintFile(bytes.data(), bytes.size());
        if (fingerprint) {
            file = kovral_io::ReadFingerprintFile(bytes.data(), bytes.size(), kovral_io::RecordSelection::All,
                                                  kovral_io::DecodeWithImageReaders);
            ok = file.ok && !(file.images.empty() && file.refused.empty());
            error = !file.reason.empty() ? file.reason : "holds no fingerprint image record";
            if (file.ok && !file.warnings.empty())
                error += ": " + file.warnings.front();
        } else if (ok)
            ok = kovral_tool::DecodeImage(bytes, raw, image, error);
    }
    if (!ok)
        throw py::value_error(path + ": " + error);
    if (!fingerprint)
        return ArrayOf(image.width, image.height, std::move(image.pixels));
    if (file.kind == "WSQ") {
        kovral_io::FingerprintImage& wsq = file.images.front();
        return ArrayOf(wsq.width, wsq.height, std::move(wsq.pixels));
    }
    py::list records;
    for (kovral_io::FingerprintImage& r : file.images) {
        Record out;
        out.image = ArrayOf(r.width, r.height, std::move(r.pixels));
        out.record = r.record;
        out.recordType = r.recordType;
        out.idc = r.idc;
        out.position = r.position;
        out.impression = r.impression;
        if (r.ppi > 0)
            out.ppi = py::float_(r.ppi);
        out.ppiSource = r.ppiSource;
        out.format = r.format;
        for (const kovral_io::An2kMissingFinger& m : r.missing)
            out.missing.emplace_back(m.position, m.amputated ? "amputated" : "unable to print");
        out.notes = r.notes;
        out.notes.insert(out.notes.end(), file.warnings.begin(), file.warnings.end());
        records.append(py::cast(std::move(out)));
    }
    for (const std::string& refusal : file.refused) {
        Record out;
        out.error = refusal;
        records.append(py::cast(std::move(out)));
    }
    return records;
}

// What kovral-split does with one slap file, options as its command line has them.
struct BatchOptions
{
    std::string outDir;
    std::optional<SizePair> fingerSize;
    std::string format = "bmp";
    bool overlay = false;
    bool force = false;
    std::optional<SizePair> rawSize;
    bool skipExisting = false;
    bool sync = false;
};

kovral_tool::Options ToolOptions(const BatchOptions& batch)
{
    kovral_tool::Options options;
    options.outDir = batch.outDir;
    if (batch.format == "png")
        options.format = kovral_tool::FingerFormat::Png;
    else if (batch.format != "bmp")
        throw py::value_error("format '" + batch.format + "' is not one of 'bmp', 'png'");
    options.overlay = batch.overlay;
    options.force = batch.force;
    options.skipExisting = batch.skipExisting;
    options.sync = batch.sync;
    options.rawSize = ToPixelSize(batch.rawSize, "size");
    options.fingerSize = ToPixelSize(batch.fingerSize, "finger size");
    return options;
}

// Splits one slap file and writes its outputs exactly as kovral-split does.
// Each thread keeps its own splitter and buffers, so that threads (and Dask
// workers with several) split at the same time. Returns (ok, fingers,
// message, skipped, record): message is what was written or the reason,
// record the slap's JSON summary when one was written, else "".
py::tuple SplitFile(const std::string& path, const std::string& name, const BatchOptions& batch)
{
    kovral_tool::Options options = ToolOptions(batch);
    kovral_tool::TaskOutcome outcome;
    {
        py::gil_scoped_release released;
        thread_local kovral_tool::SplitWorkspace workspace;
        const kovral_tool::InputFile input{path, name, ""};
        const std::set<kovral_tool::FileIdentity> inputs = kovral_tool::InputIdentities({input});
        outcome = kovral_tool::SlapSplitter(options, inputs, &workspace).Split(input);
    }
    return py::make_tuple(outcome.ok, outcome.fingers, outcome.message, outcome.skipped, outcome.record);
}

} // namespace

void RegisterFiles(py::module_& m)
{
    py::class_<Record>(m, "Record", "One fingerprint image record of an ANSI/NIST-ITL transaction file.")
        .def_readonly("image", &Record::image, "2-D uint8 array (rows, columns), or None when not decoded")
        .def_readonly("error", &Record::error, "Why the image was not decoded; empty when it was")
        .def_readonly("record", &Record::record, "Number of the record in the file (1: the Type-1 record)")
        .def_readonly("record_type", &Record::recordType, "Record type: 3..6 (binary), 13, 14 or 15")
        .def_readonly("idc", &Record::idc, "Information designation character, -1 when absent")
        .def_readonly("position", &Record::position,
                      "NIST finger position: 1..10 single fingers, 13 right four, 14 left four, 15 both thumbs, "
                      "0 unknown")
        .def_readonly("impression", &Record::impression, "Impression type, -1 when absent")
        .def_readonly("ppi", &Record::ppi, "Resolution the file states (pixels per inch), None when it states none")
        .def_readonly("ppi_source", &Record::ppiSource, "The fields the resolution comes from")
        .def_readonly("format", &Record::format, "e.g. 'ANSI/NIST Type-14 WSQ20'")
        .def_readonly("missing", &Record::missing,
                      "(finger position, 'amputated' or 'unable to print') of fingers the record lists as missing")
        .def_readonly("notes", &Record::notes, "What the file got wrong but could be read past")
        .def("__repr__", [](const Record& r) {
            return "<kovral.Record " + std::to_string(r.record) + " Type-" + std::to_string(r.recordType)
                + " position " + std::to_string(r.position) + (r.image.is_none() ? " not decoded>" : ">");
        });

    m.def("read", &Read, py::arg("path"), py::arg("size") = py::none(),
          "Reads a slap image file into a 2-D uint8 array (rows, columns), or a transaction file into its "
          "image records.\n\n"
          "The same readers as kovral-split: PNG, JPEG, BMP, PGM (colour becomes gray), WSQ, or headerless "
          "8-bit pixels when size = (width, height) is given, give an array; an ANSI/NIST-ITL transaction "
          "file (.an2, .eft, .nist) gives a list of Record, one per fingerprint image record in file order. "
          "Raises ValueError with the reason when the file cannot be read.");

    py::class_<BatchOptions>(m, "_BatchOptions")
        .def(py::init<>())
        .def_readwrite("out_dir", &BatchOptions::outDir)
        .def_readwrite("finger_size", &BatchOptions::fingerSize)
        .def_readwrite("format", &BatchOptions::format)
        .def_readwrite("overlay", &BatchOptions::overlay)
        .def_readwrite("force", &BatchOptions::force)
        .def_readwrite("raw_size", &BatchOptions::rawSize)
        .def_readwrite("skip_existing", &BatchOptions::skipExisting)
        .def_readwrite("sync", &BatchOptions::sync)
        .def(py::pickle(
            [](const BatchOptions& o) {
                return py::make_tuple(o.outDir, o.fingerSize, o.format, o.overlay, o.force, o.rawSize, o.skipExisting,
                                      o.sync);
            },
            [](const py::tuple& t) {
                return BatchOptions{t[0].cast<std::string>(), t[1].cast<std::optional<SizePair>>(),
                                    t[2].cast<std::string>(), t[3].cast<bool>(),
                                    t[4].cast<bool>(),        t[5].cast<std::optional<SizePair>>(),
                                    t[6].cast<bool>(),        t[7].cast<bool>()};
            }));

    m.def("_check_batch_options", [](const BatchOptions& batch) { ToolOptions(batch); });

    m.def("_split_file", &SplitFile, py::arg("path"), py::arg("name"), py::arg("options"));

    m.def(
        "_summary_path",
        [](const std::string& name, const BatchOptions& batch) {
            return kovral_tool::SummaryPath(ToolOptions(batch), name);
        },
        py::arg("name"), py::arg("options"));

    m.def(
        "_parse_pixel_size",
        [](const std::string& text) -> std::optional<SizePair> {
            kovral_tool::PixelSize size;
            std::string error;
            if (!kovral_tool::ParsePixelSize(text, size, error))
                return std::nullopt;
            return SizePair{size.width, size.height};
        },
        py::arg("text"), "(width, height) of \"WxH\", or None when it is not a size.");

    m.def(
        "_collect_inputs",
        [](const std::vector<std::string>& paths, bool recursive) {
            std::vector<std::tuple<std::string, std::string, std::string>> out;
            for (const kovral_tool::InputFile& input :
                 kovral_tool::CollectInputs(paths, kovral_tool::WalkRules{recursive, false, std::nullopt}))
                out.emplace_back(input.path, input.name, input.error);
            return out;
        },
        py::arg("paths"), py::arg("recursive"),
        "(path, output name, error) of every slap file that kovral-split finds in paths.");

    m.def(
        "_lock_output_folder",
        [](const std::string& outDir) {
            std::string error;
            const int fd = kovral_tool::TakeOutputFolderLock(outDir, error);
            if (fd < 0)
                throw py::value_error(error);
            return fd;
        },
        py::arg("out_dir"),
        "Takes kovral-split's lock on out_dir (created if missing): the descriptor, to be closed with os.close "
        "when the batch ends. Raises ValueError when another run holds it.");

    py::class_<kovral_tool::Progress>(m, "_Progress")
        .def(py::init<size_t, bool, std::string>(), py::arg("total"), py::arg("quiet"), py::arg("program"))
        .def(
            "done",
            [](kovral_tool::Progress& p, const std::string& input, bool ok, int fingers, const std::string& message,
               bool skipped) {
                p.Done(input, {ok, fingers, message, skipped});
            },
            py::arg("input"), py::arg("ok"), py::arg("fingers"), py::arg("message"), py::arg("skipped") = false)
        .def("tick", &kovral_tool::Progress::Tick)
        .def("finish", &kovral_tool::Progress::Finish)
        .def("summary", &kovral_tool::Progress::Summary)
        .def_property_readonly("failures", &kovral_tool::Progress::Failures);
}

} // namespace kovral_python
