#include "review_page.h"

#include "output_commit.h"

#include "slap_outputs.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <functional>
#include <map>
#include <system_error>

namespace fs = std::filesystem;

namespace kovral_tool {

namespace {

using Json = nlohmann::ordered_json;

enum class Status
{
    Failed,
    Flagged,
    Ok
};

struct Row
{
    const ReviewSlap* slap;
    Status status;
    std::vector<std::string> flags;  // slap-wide first, then "finger N: ..." in position order
    std::vector<std::string> images; // finger image URLs
    std::string overlay;             // overlay URL or ""
};

struct Cell
{
    std::string html;
    std::string sortKey; // empty: the cell's text
};

// A column of the table. Adding one is adding an entry to Columns().
struct Column
{
    const char* key; // names it in the page's "#sort=KEY" address
    const char* title;
    bool numeric; // sorts as numbers (descending first), else as text
    std::function<Cell(const Row&)> cell;
    std::function<bool(const std::vector<Row>&)> shown; // null: always shown
};

std::string Html(const std::string& text)
{
    std::string out;
    for (char c : text) {
        switch (c) {
        case '&':
            out += "&amp;";
            break;
        case '<':
            out += "&lt;";
            break;
        case '>':
            out += "&gt;";
            break;
        case '"':
            out += "&quot;";
            break;
        case '\'':
            out += "&#39;";
            break;
        default:
            out += c;
        }
    }
    return out;
}

// A relative URL of file seen from dir: every byte but unreserved ones and '/'
// percent-encoded, so that '#', '?', '%' and spaces in file names survive.
std::string Url(const fs::path& file, const fs::path& dir)
{
    std::error_code ec;
    fs::path relative = fs::relative(file, dir, ec);
    if (ec || relative.empty())
        relative = fs::absolute(file, ec);
    std::string out;
    for (unsigned char c : relative.generic_string()) {
        if ((c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-' || c == '.'
            || c == '_' || c == '~' || c == '/')
            out += static_cast<char>(c);
        else {
            char hex[4];
            std::snprintf(hex, sizeof hex, "%%%02X", c);
            out += hex;
        }
    }
    return out;
}

const Json& Field(const Json& object, const char* key)
{
    static const Json none;
    if (!object.is_object())
        return none;
    auto it = object.find(key);
    return it == object.end() ? none : *it;
}

// The words of a flags value: a name, a list of names, names set true in an
// object, or a bit set (shown in hex).
void AddFlagWords(const Json& value, const std::string& prefix, std::vector<std::string>& words)
{
    if (value.is_string() && !value.get_ref<const std::string&>().empty())
        words.push_back(prefix + value.get<std::string>());
    else if (value.is_array())
        for (const Json& item : value)
            AddFlagWords(item, prefix, words);
    else if (value.is_object()) {
        for (const auto& [name, set] : value.items())
            if (set.is_boolean() && set.get<bool>())
                words.push_back(prefix + name);
    } else if (value.is_number_integer() && value.get<long long>() != 0) {
        char hex[32];
        std::snprintf(hex, sizeof hex, "flags 0x%llx", value.get<unsigned long long>());
        words.push_back(prefix + hex);
    }
}

std::vector<std::string> FlagWords(const Json& record)
{
    std::vector<std::string> words;
    AddFlagWords(Field(record, "flags"), "", words);
    AddFlagWords(Field(record, "deficiencies"), "", words);
    const Json& mismatch = Field(Field(record, "hand"), "mismatch");
    if (mismatch.is_string())
        AddFlagWords(mismatch, "hand: ", words);
    else if (mismatch.is_boolean() && mismatch.get<bool>())
        words.push_back("hand mismatch");
    const Json& fingers = Field(record, "fingers");
    for (size_t i = 0; fingers.is_array() && i < fingers.size(); i++)
        AddFlagWords(Field(fingers[i], "flags"), "finger " + std::to_string(i + 1) + ": ", words);
    return words;
}

int FingerCount(const Row& row)
{
    const Json& count = Field(row.slap->record, "count");
    return row.slap->ok && count.is_number_integer() ? count.get<int>() : 0;
}

// Per-finger numbers under key, in position order; fingers without one are skipped.
std::vector<int> FingerNumbers(const Row& row, const char* key)
{
    std::vector<int> numbers;
    const Json& fingers = Field(row.slap->record, "fingers");
    for (size_t i = 0; fingers.is_array() && i < fingers.size(); i++)
        if (const Json& n = Field(fingers[i], key); n.is_number())
            numbers.push_back(n.get<int>());
    return numbers;
}

// The numbers joined, sorting by their lowest; -1 sorts rows without any last.
Cell NumbersCell(const std::vector<int>& numbers)
{
    if (numbers.empty())
        return {"&ndash;", "-1"};
    std::string text;
    for (int n : numbers)
        text += (text.empty() ? "" : " &middot; ") + std::to_string(n);
    return {text, std::to_string(*std::min_element(numbers.begin(), numbers.end()))};
}

bool AnyFingerHas(const std::vector<Row>& rows, const char* key)
{
    return std::any_of(rows.begin(), rows.end(), [&](const Row& row) { return !FingerNumbers(row, key).empty(); });
}

std::string HandText(const Json& hand)
{
    if (hand.is_string())
        return hand.get<std::string>();
    std::string text;
    for (const char* key : {"hand", "layout", "name", "meaning"})
        if (const Json& name = Field(hand, key); name.is_string()) {
            text = name.get<std::string>();
            break;
        }
    if (const Json& confidence = Field(hand, "confidence"); confidence.is_number() && !text.empty())
        text += " (" + confidence.dump() + ")";
    return text;
}

const char* StatusWord(Status status)
{
    switch (status) {
    case Status::Failed:
        return "failed";
    case Status::Flagged:
        return "flagged";
    case Status::Ok:
        return "ok";
    }
    return "";
}

const std::vector<Column>& Columns()
{
    static const std::vector<Column> columns = {
        {"status", "Status", true,
         [](const Row& row) {
             std::string word = StatusWord(row.status);
             return Cell{"<span class=\"status " + word + "\">" + word + "</span>",
                         std::to_string(static_cast<int>(row.status))};
         },
         nullptr},
        {"slap", "Slap", false,
         [](const Row& row) {
             std::string html = "<span class=\"input\">" + Html(row.slap->input) + "</span>";
             if (!row.slap->ok)
                 html += "<div class=\"reason\">" + Html(row.slap->message) + "</div>";
             return Cell{html, Html(row.slap->input)};
         },
         nullptr},
        {"overlay", "Overlay", false,
         [](const Row& row) {
             if (row.overlay.empty())
                 return Cell{"&ndash;", "0"};
             return Cell{"<a href=\"" + row.overlay + "\"><img class=\"overlay\" loading=\"lazy\" src=\""
                             + row.overlay + "\" alt=\"overlay of " + Html(row.slap->input) + "\"></a>",
                         "1"};
         },
         nullptr},
        {"fingers", "Fingers", true,
         [](const Row& row) {
             std::string html;
             for (size_t i = 0; i < row.images.size(); i++)
                 html += "<a href=\"" + row.images[i] + "\"><img class=\"finger\" loading=\"lazy\" src=\""
                     + row.images[i] + "\" alt=\"finger " + std::to_string(i + 1) + "\"></a>";
             return Cell{html.empty() ? "&ndash;" : "<div class=\"fingers\">" + html + "</div>",
                         std::to_string(FingerCount(row))};
         },
         nullptr},
        {"quality", "Quality", true, [](const Row& row) { return NumbersCell(FingerNumbers(row, "quality")); },
         nullptr},
        {"confidence", "Confidence", true,
         [](const Row& row) { return NumbersCell(FingerNumbers(row, "confidence")); },
         [](const std::vector<Row>& rows) { return AnyFingerHas(rows, "confidence"); }},
        {"flags", "Flags", false,
         [](const Row& row) {
             std::string html;
             for (const std::string& flag : row.flags)
                 html += "<span class=\"flag\">" + Html(flag) + "</span> ";
             return Cell{html.empty() ? "&ndash;" : html, Html(row.flags.empty() ? "" : row.flags.front())};
         },
         nullptr},
        {"hand", "Hand", false,
         [](const Row& row) {
             std::string text = HandText(Field(row.slap->record, "hand"));
             return Cell{text.empty() ? "&ndash;" : Html(text), Html(text)};
         },
         nullptr},
    };
    return columns;
}

Row MakeRow(const ReviewSlap& slap, const fs::path& pageDir)
{
    Row row{&slap, Status::Ok, FlagWords(slap.record), {}, ""};
    if (!slap.ok)
        row.status = Status::Failed;
    else if (!row.flags.empty() || FingerCount(row) == 0)
        row.status = Status::Flagged;
    if (!slap.overlay.empty())
        row.overlay = Url(slap.overlay, pageDir);
    for (const fs::path& image : slap.fingerImages)
        row.images.push_back(Url(image, pageDir));
    return row;
}

std::string Summary(const std::vector<Row>& rows)
{
    size_t failed = 0, flagged = 0, fingers = 0;
    std::map<int, size_t> byCount;
    for (const Row& row : rows) {
        failed += row.status == Status::Failed;
        flagged += row.status == Status::Flagged;
        fingers += FingerCount(row);
        if (row.status != Status::Failed)
            byCount[FingerCount(row)]++;
    }
    auto item = [](const std::string& name, size_t n, const char* cls = "") {
        return "<li class=\"" + std::string(cls) + "\"><b>" + std::to_string(n) + "</b> " + name + "</li>";
    };
    std::string html = "<ul class=\"summary\">" + item(rows.size() == 1 ? "slap" : "slaps", rows.size())
        + item("failed", failed, failed ? "failed" : "") + item("flagged", flagged, flagged ? "flagged" : "")
        + item("ok", rows.size() - failed - flagged) + item(fingers == 1 ? "finger" : "fingers", fingers);
    for (auto it = byCount.rbegin(); it != byCount.rend(); ++it)
        html += item("with " + std::to_string(it->first) + (it->first == 1 ? " finger" : " fingers"), it->second);
    return html + "</ul>\n";
}

const char* const kStyle = R"(<style>
body { font: 14px system-ui, sans-serif; margin: 1em; color: #222; }
h1 { font-size: 1.3em; margin: 0 0 .5em; }
ul.summary { list-style: none; padding: 0; display: flex; flex-wrap: wrap; gap: .4em 1.2em; }
ul.summary li.failed b { color: #b00020; }
ul.summary li.flagged b { color: #a86400; }
#page-status { color: #666; font-size: .9em; }
#page-errors { color: #b00020; }
table { border-collapse: collapse; }
th, td { border-bottom: 1px solid #ddd; padding: 4px 8px; text-align: left; vertical-align: top; }
th button { font: inherit; font-weight: bold; border: 0; background: none; cursor: pointer; padding: 0; }
th[aria-sort=ascending] button::after { content: " \25B2"; }
th[aria-sort=descending] button::after { content: " \25BC"; }
img.overlay { width: 240px; }
div.fingers { white-space: nowrap; }
img.finger { height: 96px; margin-right: 3px; background: #eee; }
.status { font-weight: bold; }
.status.failed { color: #b00020; }
.status.flagged { color: #a86400; }
.status.ok { color: #2e7d32; }
.reason { color: #b00020; max-width: 30em; }
.flag { display: inline-block; background: #fff3cd; border-radius: 3px; padding: 0 4px; margin: 1px; }
</style>
)";

// Records script errors in #page-errors (placed before every other script).
const char* const kErrorScript = R"(<script>
window.onerror = function (message, source, line) {
  var list = document.getElementById('page-errors');
  var item = document.createElement('li');
  item.textContent = message + ' (line ' + line + ')';
  list.appendChild(item);
  list.setAttribute('data-count', list.children.length);
};
</script>
)";

// Sorting by a click on a column head (again: the other way), or by the
// address "#sort=KEY" / "#sort=-KEY"; ties keep the page's order. Once the
// images have loaded, #page-status tells what is shown.
const char* const kSortScript = R"(<script>
(function () {
  var table = document.getElementById('slaps');
  var body = table.tBodies[0];
  var heads = table.tHead.rows[0].cells;
  var sorted = '';
  function key(row, col) {
    var cell = row.cells[col];
    return cell.hasAttribute('data-sort') ? cell.getAttribute('data-sort') : cell.textContent;
  }
  function sortBy(col, dir) {
    var numeric = heads[col].getAttribute('data-type') === 'number';
    var rows = Array.prototype.slice.call(body.rows);
    rows.sort(function (a, b) {
      var x = key(a, col), y = key(b, col);
      var d = numeric ? parseFloat(x) - parseFloat(y) : x.localeCompare(y, undefined, {numeric: true});
      return d * dir || a.getAttribute('data-order') - b.getAttribute('data-order');
    });
    rows.forEach(function (row) { body.appendChild(row); });
    for (var i = 0; i < heads.length; i++)
      heads[i].setAttribute('aria-sort', i !== col ? 'none' : dir > 0 ? 'ascending' : 'descending');
    sorted = heads[col].getAttribute('data-key') + (dir > 0 ? ' ascending' : ' descending');
  }
  Array.prototype.forEach.call(heads, function (head, col) {
    var button = head.querySelector('button');
    if (!button) return;
    button.addEventListener('click', function () {
      var first = head.getAttribute('data-type') === 'number' ? -1 : 1;
      var now = head.getAttribute('aria-sort');
      sortBy(col, now === 'ascending' ? -1 : now === 'descending' ? 1 : first);
    });
  });
  var wanted = /^#sort=(-?)([a-z]+)$/.exec(location.hash);
  if (wanted) {
    for (var i = 0; i < heads.length; i++)
      if (heads[i].getAttribute('data-key') === wanted[2] && heads[i].querySelector('button'))
        sortBy(i, wanted[1] ? -1 : 1);
  }
  window.addEventListener('load', function () {
    var images = document.images, loaded = 0, broken = 0;
    for (var i = 0; i < images.length; i++) {
      if (images[i].complete && images[i].naturalWidth > 0) loaded++;
      else if (images[i].complete) broken++;
    }
    var shown = 0;
    for (var r = 0; r < body.rows.length; r++) shown += body.rows[r].offsetHeight > 0 ? 1 : 0;
    var status = document.getElementById('page-status');
    status.textContent = body.rows.length + ' rows, ' + shown + ' shown; ' + loaded + ' of ' + images.length +
      ' images loaded, ' + broken + ' broken' + (sorted ? '; sorted by ' + sorted : '');
    status.setAttribute('data-state', 'ready');
  });
})();
</script>
)";

} // namespace

std::string ReviewPageHtml(const std::vector<ReviewSlap>& slaps, const fs::path& pageDir)
{
    std::vector<Row> rows;
    for (const ReviewSlap& slap : slaps)
        rows.push_back(MakeRow(slap, pageDir));
    std::stable_sort(rows.begin(), rows.end(), [](const Row& a, const Row& b) { return a.status < b.status; });

    std::vector<const Column*> columns;
    for (const Column& column : Columns())
        if (!column.shown || column.shown(rows))
            columns.push_back(&column);

    std::string title
        = "kovral-split review: " + std::to_string(rows.size()) + (rows.size() == 1 ? " slap" : " slaps");
    std::string html = "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n<title>" + title
        + "</title>\n" + kStyle + "</head>\n<body>\n<ul id=\"page-errors\" data-count=\"0\"></ul>\n" + kErrorScript
        + "<h1>" + title + "</h1>\n" + Summary(rows)
        + "<p id=\"page-status\" data-state=\"loading\">loading</p>\n<table id=\"slaps\">\n<thead><tr>";
    for (const Column* column : columns)
        html += std::string("<th data-key=\"") + column->key + "\" data-type=\""
            + (column->numeric ? "number" : "text") + "\" aria-sort=\"none\"><button type=\"button\">" + column->title
            + "</button></th>";
    html += "</tr></thead>\n<tbody>\n";
    for (size_t i = 0; i < rows.size(); i++) {
        html += "<tr data-order=\"" + std::to_string(i) + "\" data-status=\"" + StatusWord(rows[i].status) + "\">";
        for (const Column* column : columns) {
            Cell cell = column->cell(rows[i]);
            html += "<td data-sort=\"" + cell.sortKey + "\">" + cell.html + "</td>";
        }
        html += "</tr>\n";
    }
    return html + "</tbody>\n</table>\n" + kSortScript + "</body>\n</html>\n";
}

ReviewSlap ReviewEntry(const Options& options, const InputFile& input, const std::string& label,
                       const TaskOutcome& outcome)
{
    ReviewSlap slap{label, outcome.ok, outcome.message, nullptr, {}, {}};
    // Only a summary written by this run counts: a refused slap's files are an earlier run's.
    if (!outcome.record.empty())
        slap.record = Json::parse(outcome.record, nullptr, false);
    if (!slap.record.is_object()) {
        slap.record = nullptr;
        return slap;
    }
    std::error_code ec;
    fs::path overlay = OverlayPath(options, input.name);
    if (options.overlay && fs::exists(overlay, ec))
        slap.overlay = overlay;
    fs::path dir = fs::path(SummaryPath(options, input.name)).parent_path();
    for (const Json& finger : Field(slap.record, "fingers"))
        if (const Json& file = Field(finger, "file"); file.is_string())
            slap.fingerImages.push_back(dir / file.get<std::string>());
    return slap;
}

bool WriteReviewPage(const Options& options, const std::vector<ReviewSlap>& slaps, std::string& error)
{
    fs::path pageDir = fs::absolute(options.report).parent_path();
    std::string html = ReviewPageHtml(slaps, pageDir);
    // Written like every other output: a temporary, checked, renamed into place.
    OutputSet page(options.force, options.sync, {});
    return page.Stage(options.report, std::span(reinterpret_cast<const uint8_t*>(html.data()), html.size()), error)
        && page.Commit(error);
}

} // namespace kovral_tool
