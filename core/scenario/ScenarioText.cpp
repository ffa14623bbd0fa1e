// The reader and the writer of the scenario text format.

#include <scenario/ScenarioItem.h>

#include <scenario/Parameter.h>

#include "ModelIndex.h"

#include <environment/Commons/FileUtils.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <ostream>
#include <sstream>
#include <sys/stat.h>
#include <unordered_map>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace {

const char* const kSource = "ScenarioItem";

// Deeper nesting than this is refused, so that no input can exhaust the stack of
// the recursive reader or of the destructors; real files nest a dozen levels.
const int kMaxNesting = 1024;
int readNesting = 0;

// The longest keyword and name that a header may carry, their NUL excluded.
const size_t kMaxKeyword = 255;
const size_t kMaxName = 511;

// Tab, line feed, form feed and carriage return end a line; the blank is part of
// a token.
inline bool IsSeparator(char c) {
    return c == '\t' || c == '\n' || c == '\f' || c == '\r';
}

#if defined(__SSE2__)
// Bit i is set where byte i of the sixteen at p is a separator; `newlines` gets
// the bits of the line feeds among them. Sixteen bytes are tested at once: lines
// are some thirty bytes long, and a byte loop spends more on its branches than
// on the bytes.
inline uint32_t SeparatorBits(const char* p, uint32_t& newlines) {
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    const __m128i lineFeeds = _mm_cmpeq_epi8(bytes, _mm_set1_epi8('\n'));
    const __m128i others = _mm_or_si128(
        _mm_or_si128(_mm_cmpeq_epi8(bytes, _mm_set1_epi8('\t')), _mm_cmpeq_epi8(bytes, _mm_set1_epi8('\r'))),
        _mm_cmpeq_epi8(bytes, _mm_set1_epi8('\f')));
    newlines = static_cast<uint32_t>(_mm_movemask_epi8(lineFeeds));
    return static_cast<uint32_t>(_mm_movemask_epi8(_mm_or_si128(lineFeeds, others)));
}
#endif

// The first separator in [p, end), or end. NextLine looks at whole blocks of
// sixteen itself and leaves the last few bytes of the text to this.
const char* FindSeparator(const char* p, const char* end) {
    // Eight bytes at a time are tested for a byte below 14, where the four
    // separators lie; only such a word is looked at byte by byte.
    const uint64_t ones = 0x0101010101010101ull;
    const uint64_t highs = 0x8080808080808080ull;
    while (end - p >= 8) {
        uint64_t word;
        std::memcpy(&word, p, sizeof(word));
        if (((word - ones * 14) & ~word & highs) != 0)
            break;
        p += 8;
    }
    while (p < end && !IsSeparator(*p))
        ++p;
    return p;
}

// The first byte of [p, end) that is no separator, or end; `line` counts the line
// feeds passed over.
const char* SkipSeparators(const char* p, const char* end, uint32_t& line) {
#if defined(__SSE2__)
    while (end - p >= 16) {
        uint32_t newlines;
        const uint32_t others = ~SeparatorBits(p, newlines) & 0xFFFFu;
        const uint32_t run = others != 0 ? static_cast<uint32_t>(__builtin_ctz(others)) : 16u;
        for (newlines &= (1u << run) - 1; newlines != 0; newlines &= newlines - 1)
            ++line;
        p += run;
        if (run < 16)
            return p;
    }
#endif
    while (p < end && IsSeparator(*p)) {
        if (*p == '\n')
            ++line;
        ++p;
    }
    return p;
}

// The first quote or NUL in [p, end), or end: where a value stops.
const char* FindValueEnd(const char* p, const char* end) {
#if defined(__SSE2__)
    while (end - p >= 16) {
        const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
        const uint32_t stops = static_cast<uint32_t>(_mm_movemask_epi8(_mm_or_si128(
            _mm_cmpeq_epi8(bytes, _mm_set1_epi8('"')), _mm_cmpeq_epi8(bytes, _mm_setzero_si128()))));
        if (stops != 0)
            return p + __builtin_ctz(stops);
        p += 16;
    }
#endif
    while (p < end && *p != '"' && *p != '\0')
        ++p;
    return p;
}

// The text ends at its NUL or at the end that the stream was given, whichever
// comes first.
inline bool AtTextEnd(const ScenarioTextStream& stream, const char* p) {
    return p >= stream.end || *p == '\0';
}

void LogMessage(char severity, const std::string& text) {
    if (scenarioLog == nullptr)
        return;
    scenarioLog->put(severity);
    *scenarioLog << text << std::endl;
}

struct NestingGuard {
    NestingGuard() { ++readNesting; }
    ~NestingGuard() { --readNesting; }
};

} // namespace

struct ItemRowRecord::Store {
    struct Entry {
        uint32_t file;
        uint32_t row;
    };
    // The files by number; an item's entry names its file by number, as the
    // items of one file are many.
    std::vector<std::string> files{std::string()};
    std::unordered_map<const ScenarioItem*, Entry> entries;

    uint32_t FileNumber(const std::string* name) {
        if (name == nullptr || name->empty())
            return 0;
        // Items come file by file: the last file is nearly always the one.
        if (files.back() == *name)
            return static_cast<uint32_t>(files.size() - 1);
        auto found = std::find(files.begin(), files.end(), *name);
        if (found != files.end())
            return static_cast<uint32_t>(found - files.begin());
        files.push_back(*name);
        return static_cast<uint32_t>(files.size() - 1);
    }
};

ItemRowRecord* ItemRowRecord::live_ = nullptr;
const std::string* ItemRowRecord::fileName_ = nullptr;

ItemRowRecord::ItemRowRecord() : store_(new Store), outer_(live_) {
    live_ = this;
}

ItemRowRecord::~ItemRowRecord() {
    // Records are meant to nest like scopes; one that goes out of turn is taken
    // out of the chain all the same.
    for (ItemRowRecord** link = &live_; *link != nullptr; link = &(*link)->outer_)
        if (*link == this) {
            *link = outer_;
            break;
        }
}

bool ItemRowRecord::Find(const ScenarioItem* item, Place& place) const {
    auto found = store_->entries.find(item);
    if (found == store_->entries.end())
        return false;
    place.file = store_->files[found->second.file];
    place.row = found->second.row;
    return true;
}

void ItemRowRecord::NoteRead(const ScenarioItem* item, uint32_t row) {
    for (ItemRowRecord* record = live_; record != nullptr; record = record->outer_) {
        Store& store = *record->store_;
        store.entries[item] = Store::Entry{store.FileNumber(fileName_), row};
    }
}

void ItemRowRecord::NoteCopy(const ScenarioItem& original, const ScenarioItem& copy) {
    if (live_ == nullptr)
        return;
    for (ItemRowRecord* record = live_; record != nullptr; record = record->outer_) {
        Store& store = *record->store_;
        auto found = store.entries.find(&original);
        if (found != store.entries.end()) {
            const Store::Entry entry = found->second;
            store.entries[&copy] = entry;
        }
    }
    std::vector<ScenarioItem*> originals;
    std::vector<ScenarioItem*> copies;
    original.GetChildren(originals);
    copy.GetChildren(copies);
    for (size_t i = 0; i < originals.size() && i < copies.size(); ++i) {
        const ScenarioItem* from = originals[i];
        const ScenarioItem* to = copies[i];
        if (from != nullptr && to != nullptr && from->kind == to->kind && from->name == to->name)
            NoteCopy(*from, *to);
    }
}

void ItemRowRecord::Forget(const ScenarioItem* item) {
    for (ItemRowRecord* record = live_; record != nullptr; record = record->outer_)
        record->store_->entries.erase(item);
}

ItemRowRecord::File::File(std::string name) : name_(std::move(name)), former_(fileName_) {
    fileName_ = &name_;
}

ItemRowRecord::File::~File() {
    fileName_ = former_;
}

ScenarioTextStream::ScenarioTextStream(const char* buffer, size_t length)
    : begin(buffer), end(buffer != nullptr ? buffer + length : nullptr), cursor(buffer) {
    if (buffer == nullptr)
        AssertAbort("core/include/scenario/ScenarioItem", 394);
    cursor = SkipSeparators(cursor, end, line);
}

void NextLine(ScenarioTextStream& stream) {
    // Kept in locals: stores through the stream could alias the text otherwise.
    const char* p = stream.cursor;
    const char* const end = stream.end;
    uint32_t line = stream.line;
#if defined(__SSE2__)
    // The block that holds the line's end often holds the start of the next line
    // too: then one look at it does.
    while (end - p >= 16) {
        uint32_t newlines;
        const uint32_t separators = SeparatorBits(p, newlines);
        if (separators == 0) {
            p += 16;
            continue;
        }
        const uint32_t others = ~separators & (0xFFFFu << __builtin_ctz(separators)) & 0xFFFFu;
        const uint32_t run = others != 0 ? static_cast<uint32_t>(__builtin_ctz(others)) : 16u;
        for (newlines &= (1u << run) - 1; newlines != 0; newlines &= newlines - 1)
            ++line;
        p += run;
        if (run == 16)
            p = SkipSeparators(p, end, line);
        stream.cursor = p;
        stream.line = line;
        return;
    }
#endif
    stream.cursor = SkipSeparators(FindSeparator(p, end), end, line);
    stream.line = line;
}

bool SkipBlock(ScenarioTextStream& stream) {
    // The nested blocks of the original recursion are counted in scenarioDepth, so
    // one loop does; the end of the text stops it instead of running on.
    while (scenarioDepth > 0) {
        NextLine(stream);
        if (stream.cursor >= stream.end)
            return false;
        const char c = *stream.cursor;
        if (c == '{')
            ++scenarioDepth;
        else if (c == '}')
            --scenarioDepth;
    }
    return true;
}

bool ReadHeader(ScenarioTextStream& stream, uint32_t& kind, std::string& name) {
    static const char kTypeof[] = "TYPEOF ";
    const char* p = stream.cursor;
    for (size_t i = 0; i < sizeof(kTypeof) - 1; ++i, ++p)
        if (AtTextEnd(stream, p) || *p != kTypeof[i])
            return false;

    // The keyword's first character is taken as it is; the keyword ends at a blank
    // (a name follows) or at a carriage return (none does).
    const char* keyword = p;
    if (AtTextEnd(stream, keyword))
        return false;
    const char* q = keyword + 1;
    while (!AtTextEnd(stream, q) && *q != ' ' && *q != '\r')
        ++q;
    if (AtTextEnd(stream, q))
        return false;
    const size_t keywordLength = static_cast<size_t>(q - keyword);
    if (keywordLength > kMaxKeyword)
        AssertAbort(kSource, 0);
    char keywordText[kMaxKeyword + 1];
    std::memcpy(keywordText, keyword, keywordLength);
    keywordText[keywordLength] = '\0';
    kind = KindFromKeyword(keywordText);

    if (*q == '\r') {
        name.clear();
        return true;
    }
    // Behind the blank stands "(", taken unseen; the name's first character is
    // taken as it is, and the name runs to the next ")".
    const char* open = q + 1;
    if (AtTextEnd(stream, open))
        return false;
    const char* start = open + 1;
    if (AtTextEnd(stream, start))
        return false;
    const char* close = start + 1;
    while (!AtTextEnd(stream, close) && *close != ')')
        ++close;
    if (AtTextEnd(stream, close))
        return false;
    const size_t nameLength = static_cast<size_t>(close - start);
    if (nameLength > kMaxName)
        return false;
    name.assign(start, nameLength);
    return true;
}

bool ReadStringAttributeOfLength(ScenarioTextStream& stream, const char* key, size_t keyLength,
                                 std::string& value) {
    // A key has no NUL, so a comparison with the text's NUL fails by itself.
    if (!AtAttributeKey(stream, key, keyLength))
        return false;
    const char* close = FindAttributeValueEnd(stream, keyLength);
    if (close == nullptr)
        return false;
    const char* start = stream.cursor + keyLength + 2;
    value.assign(start, static_cast<size_t>(close - start));
    return true;
}

const char* FindAttributeValueEnd(const ScenarioTextStream& stream, size_t keyLength) {
    const char* p = stream.cursor + keyLength;
    // Two characters stand between key and value; the writer puts `="` there.
    if (stream.end - p < 2 || p[0] == '\0' || p[1] == '\0')
        return nullptr;
    p += 2;
    // The value runs to the next quote, which must come before the text ends.
    const char* close = FindValueEnd(p, stream.end);
    if (close >= stream.end || *close != '"')
        return nullptr;
    return close;
}

ScenarioItem* ReadItem(ScenarioTextStream& stream, ScenarioItem* parent, ItemLoadContext* context,
                       bool headerOnly) {
    // The cursor stands on the header, whose row a record of rows wants.
    const uint32_t headerRow = stream.line;
    uint32_t kind = ITEM_NONE;
    std::string name;
    if (!ReadHeader(stream, kind, name))
        return nullptr;
    if (kind == ITEM_NONE || kind == ITEM_MODIFIER || kind > ITEM_LAST_KIND)
        return nullptr;
    if (readNesting >= kMaxNesting)
        return nullptr;
    NestingGuard nesting;

    NextLine(stream);
    ScenarioItem* item = CreateItem(kind, name, context);
    if (item == nullptr)
        AssertAbort(kSource, 565);
    if (ItemRowRecord::Recording())
        ItemRowRecord::NoteRead(item, headerRow);
    // The item joins the tree before it has content, so that the searches made
    // while it loads can see it.
    if (parent != nullptr)
        parent->AddChild(item, nullptr, true);

    // Whether the parent keeps the item, and so destroys it with itself.
    auto heldByParent = [&]() {
        if (parent == nullptr)
            return false;
        std::vector<ScenarioItem*> held;
        parent->GetChildren(held);
        return std::find(held.begin(), held.end(), item) != held.end();
    };
    auto fail = [&]() -> ScenarioItem* {
        if (heldByParent()) {
            // A parameter hands a removed call back to the caller instead of
            // destroying it, and so does a scenario its evaluation and its
            // general parameters: here the caller is the reader, which drops
            // it. Decided before the removal, which may destroy the item.
            const bool handedBack =
                dynamic_cast<Parameter*>(parent) != nullptr ||
                (parent->kind == ITEM_SCENARIO &&
                 (item->kind == ITEM_EVALUATION || item->kind == ITEM_GENERAL_PARAMETERS));
            parent->RemoveChild(item);
            if (handedBack)
                delete item;
            return nullptr;
        }
        delete item;
        return nullptr;
    };

    try {
        if (stream.Peek() != '{')
            return fail();
        NextLine(stream);
        if (!item->OnLoadBegin())
            return fail();
        for (;;) {
            if (stream.begin == stream.end)
                return fail();
            if (stream.Peek() == '}') {
                if (!item->OnLoadEnd())
                    return fail();
                NextLine(stream);
                return item;
            }
            if (item->LoadAttribute(stream)) {
                NextLine(stream);
                continue;
            }
            if (headerOnly) {
                // Only the attributes were wanted: pass over the rest of the block.
                scenarioDepth = 1;
                if (SkipBlock(stream) && scenarioDepth == 0)
                    return item;
                scenarioDepth = 0;
                return fail();
            }
            ScenarioItem* child = ReadItem(stream, item, context, false);
            if (child == nullptr)
                return fail();
            // A child that the item accepted but doesn't keep (a call directly
            // under a call) is read and dropped.
            if (child->parent != item)
                delete child;
        }
    } catch (...) {
        // A value that doesn't convert goes up to the caller; an item that no
        // parent holds (the top one, or one its parent refused, such as a
        // scenario inside a scenario) would be lost on the way.
        if (!heldByParent())
            delete item;
        throw;
    }
}

ScenarioItem* LoadScenarioText(ScenarioTextStream& stream, ScenarioItem* parent, ItemLoadContext* context,
                               std::ostream* log, bool headerOnly) {
    scenarioLog = log;
    ModelIndex::LoadScope scope;
    return ReadItem(stream, parent, context, headerOnly);
}

std::string ScenarioText(ScenarioItem& item) {
    std::ostringstream text;
    scenarioDepth = 0;
    item.Save(text);
    std::string crlf;
    for (char c : text.str()) {
        if (c == '\n')
            crlf.push_back('\r');
        crlf.push_back(c);
    }
    return crlf;
}

bool SaveScenarioFile(ScenarioItem& item, const std::string& path) {
    return Commons::FileUtils::ReplaceFile(path, ScenarioText(item));
}

ScenarioItem* LoadScenarioFile(const char* path, std::ostream* log, bool headerOnly) {
    if (path == nullptr)
        AssertAbort(kSource, 466);
    scenarioLog = log;

    // Item paths are written with backslashes; here they name the same file.
    std::string native(path);
    for (char& c : native)
        if (c == '\\')
            c = '/';
    struct stat info {};
    FILE* file = nullptr;
    if (stat(native.c_str(), &info) == 0 && S_ISREG(info.st_mode))
        file = std::fopen(native.c_str(), "rb");
    if (file == nullptr) {
        LogMessage('\x01', std::string("Unable to open file ") + path);
        return nullptr;
    }
    std::fseek(file, 0, SEEK_END);
    const long size = std::ftell(file);
    if (size <= 0) {
        std::fclose(file);
        LogMessage('\x03', std::string("File ") + path + " is empty.");
        return nullptr;
    }
    std::fseek(file, 0, SEEK_SET);
    std::unique_ptr<char, void (*)(void*)> buffer(
        static_cast<char*>(std::malloc(static_cast<size_t>(size) + 1)), std::free);
    if (!buffer)
        AssertAbort(kSource, 487);
    if (std::fread(buffer.get(), 1, static_cast<size_t>(size), file) != static_cast<size_t>(size))
        AssertAbort(kSource, 488);
    buffer.get()[size] = '\0';
    std::fclose(file);

    ScenarioTextStream stream(buffer.get(), static_cast<size_t>(size) + 1);
    ItemLoadContext context;
    ModelIndex::LoadScope scope;
    const ItemRowRecord::File named(path);
    ScenarioItem* item = ReadItem(stream, nullptr, &context, headerOnly);
    if (item != nullptr)
        return item;

    // The failing line, up to an apostrophe or a separator, at most 255 bytes.
    std::string rest;
    for (const char* p = stream.cursor; !AtTextEnd(stream, p) && rest.size() < 255; ++p) {
        if (*p == '\'' || *p == '\t' || *p == '\n' || *p == '\r' || *p == '\f')
            break;
        rest.push_back(*p);
    }
    LogMessage('\x04', std::string(path) + " - row " + std::to_string(stream.line) + ":\n" + rest);
    return nullptr;
}

void WriteHeader(std::ostream& out, uint32_t kind, const std::string& name) {
    // Each line is put together first and handed to the stream in one write; the
    // buffer is kept between lines, as the writer runs on one thread.
    static std::string line;
    line.assign(1, '\n');
    line.append(static_cast<size_t>(scenarioDepth > 0 ? scenarioDepth : 0), '\t');
    line += "TYPEOF ";
    line += KindKeyword(kind);
    if (!name.empty()) {
        line += " (";
        line += name;
        line += ')';
    }
    line += '\n';
    out.write(line.data(), static_cast<std::streamsize>(line.size()));
}

void WriteAttribute(std::ostream& out, const char* key, const char* value) {
    if (value == nullptr)
        return;
    static std::string line;
    line.assign(static_cast<size_t>(scenarioDepth > 0 ? scenarioDepth : 0), '\t');
    line += key;
    line += "=\"";
    line += value;
    line += "\"\n";
    out.write(line.data(), static_cast<std::streamsize>(line.size()));
}

void SplitWords(const std::string& value, std::vector<std::string>& words) {
    std::istringstream in(value);
    std::string word;
    while (in >> word)
        words.push_back(word);
}

void JoinWords(const std::vector<std::string>& words, char* buffer, size_t size) {
    if (buffer == nullptr || size == 0)
        return;
    size_t used = 0;
    for (size_t i = 0; i < words.size(); ++i) {
        if (i > 0 && used + 1 < size)
            buffer[used++] = ' ';
        const std::string& word = words[i];
        const size_t room = size - 1 - used;
        const size_t n = word.size() < room ? word.size() : room;
        std::memcpy(buffer + used, word.data(), n);
        used += n;
    }
    buffer[used] = '\0';
}
