// The truth file of the real slaps (a small JSON document) and their images.
//
// {"slaps": [{"file": "a.pgm", "scale": 1, "hand": "right",
//             "fingers": [{"x": 320, "y": 480, "angle": 99, "width": 250, "length": 400}],
//             "marks": [[left, top, right, bottom], ...], "ignore": [[...], ...]}]}
//
// Coordinates are pixels of the file as stored; scale 2 marks a 250 ppi slap
// that is evaluated upsampled to 500 ppi.
#include "locator_eval.h"

#include <kovral.h>

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstdlib>
#include <cmath>
#include <cstdio>
#include <map>
#include <memory>

#include "slapgen.h"

namespace eval {
namespace {

struct Json
{
    enum Kind
    {
        Null,
        Number,
        String,
        Array,
        Object
    } kind
        = Null;
    double number = 0;
    std::string text;
    std::vector<Json> items;
    std::map<std::string, Json> fields;

    const Json& operator[](const std::string& key) const
    {
        static const Json none;
        auto it = fields.find(key);
        return it == fields.end() ? none : it->second;
    }
};

class Parser
{
public:
    explicit Parser(const std::string& s) : s_(s) { }

    bool Parse(Json& out) { return Value(out, 0) && (Skip(), pos_ == s_.size()); }

private:
    static constexpr int MAX_DEPTH = 16;

    void Skip()
    {
        while (pos_ < s_.size() && std::isspace(static_cast<unsigned char>(s_[pos_])))
            pos_++;
    }

    bool Eat(char c)
    {
        Skip();
        if (pos_ < s_.size() && s_[pos_] == c) {
            pos_++;
            return true;
        }
        return false;
    }

    bool Str(std::string& out)
    {
        if (!Eat('"'))
            return false;
        while (pos_ < s_.size() && s_[pos_] != '"')
            out += s_[pos_++];
        return pos_++ < s_.size();
    }

    bool Value(Json& v, int depth)
    {
        if (depth > MAX_DEPTH)
            return false;
        Skip();
        if (pos_ >= s_.size())
            return false;
        const char c = s_[pos_];
        if (c == '"') {
            v.kind = Json::String;
            return Str(v.text);
        }
        if (c == '[') {
            v.kind = Json::Array;
            pos_++;
            if (Eat(']'))
                return true;
            do {
                v.items.emplace_back();
                if (!Value(v.items.back(), depth + 1))
                    return false;
            } while (Eat(','));
            return Eat(']');
        }
        if (c == '{') {
            v.kind = Json::Object;
            pos_++;
            if (Eat('}'))
                return true;
            do {
                std::string key;
                if (!Str(key) || !Eat(':') || !Value(v.fields[key], depth + 1))
                    return false;
            } while (Eat(','));
            return Eat('}');
        }
        char* end = nullptr;
        v.kind = Json::Number;
        v.number = std::strtod(s_.c_str() + pos_, &end);
        if (end == s_.c_str() + pos_)
            return false;
        pos_ = static_cast<std::size_t>(end - s_.c_str());
        return true;
    }

    const std::string& s_;
    std::size_t pos_ = 0;
};

bool ReadFile(const std::string& path, std::string& out)
{
    std::unique_ptr<FILE, int (*)(FILE*)> f(std::fopen(path.c_str(), "rb"), std::fclose);
    if (!f)
        return false;
    char buf[4096];
    std::size_t n;
    while ((n = std::fread(buf, 1, sizeof buf, f.get())) > 0)
        out.append(buf, n);
    return true;
}

// Bilinear upsampling by an integer factor, pixel centres aligned.
std::vector<uint8_t> Upsample(const std::vector<uint8_t>& src, int w, int h, int k)
{
    std::vector<uint8_t> out(static_cast<std::size_t>(w) * k * h * k);
    for (int y = 0; y < h * k; y++) {
        const double sy = std::fmax((y + 0.5) / k - 0.5, 0.0);
        const int y0 = std::min(static_cast<int>(sy), h - 1), y1 = std::min(y0 + 1, h - 1);
        const double fy = sy - y0;
        for (int x = 0; x < w * k; x++) {
            const double sx = std::fmax((x + 0.5) / k - 0.5, 0.0);
            const int x0 = std::min(static_cast<int>(sx), w - 1), x1 = std::min(x0 + 1, w - 1);
            const double fx = sx - x0;
            const double top = src[static_cast<std::size_t>(y0) * w + x0] * (1 - fx)
                + src[static_cast<std::size_t>(y0) * w + x1] * fx;
            const double bottom = src[static_cast<std::size_t>(y1) * w + x0] * (1 - fx)
                + src[static_cast<std::size_t>(y1) * w + x1] * fx;
            out[static_cast<std::size_t>(y) * w * k + x] = static_cast<uint8_t>(top * (1 - fy) + bottom * fy + 0.5);
        }
    }
    return out;
}

Box ReadBox(const Json& j, double k)
{
    if (j.items.size() != 4)
        return {0, 0, 0, 0};
    return {j.items[0].number * k, j.items[1].number * k, j.items[2].number * k, j.items[3].number * k};
}

} // namespace

bool LoadRealSet(const std::string& truthPath, const std::string& dir, std::vector<Case>& cases, std::string& error)
{
    std::string text;
    if (!ReadFile(truthPath, text)) {
        error = "cannot read " + truthPath;
        return false;
    }
    Json root;
    if (!Parser(text).Parse(root) || root["slaps"].kind != Json::Array) {
        error = truthPath + ": not a truth file";
        return false;
    }
    for (const Json& s : root["slaps"].items) {
        Case c;
        c.name = s["file"].text;
        const int k = s["scale"].kind == Json::Number ? static_cast<int>(s["scale"].number) : 1;
        slapgen::Slap img;
        const std::string path = dir + "/" + c.name;
        if (!slapgen::ReadPgm(path.c_str(), img)) {
            error = "cannot read " + path;
            return false;
        }
        c.width = img.width * k;
        c.height = img.height * k;
        c.pixels = k == 1 ? img.pixels : Upsample(img.pixels, img.width, img.height, k);
        if (c.width > KOVRAL_MAX_WIDTH) {
            // Wider than a split takes: the rightmost columns go.
            std::vector<uint8_t> cropped;
            for (int y = 0; y < c.height; y++)
                cropped.insert(cropped.end(), c.pixels.begin() + static_cast<std::ptrdiff_t>(y) * c.width,
                               c.pixels.begin() + static_cast<std::ptrdiff_t>(y) * c.width + KOVRAL_MAX_WIDTH);
            c.pixels.swap(cropped);
            c.width = KOVRAL_MAX_WIDTH;
        }
        c.hand = s["hand"].text;
        for (const Json& f : s["fingers"].items)
            c.fingers.push_back({f["x"].number * k, f["y"].number * k, f["angle"].number, f["width"].number * k,
                                 f["length"].number * k, true});
        for (const Json& b : s["marks"].items)
            c.marks.push_back(ReadBox(b, k));
        for (const Json& b : s["ignore"].items)
            c.ignore.push_back(ReadBox(b, k));
        cases.push_back(std::move(c));
    }
    return true;
}

} // namespace eval
