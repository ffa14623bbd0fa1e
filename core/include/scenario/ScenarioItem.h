#pragma once

// The base of the scenario item tree: observers, items, kinds, the factory, the
// tree searches, the path helpers, and the cursor and entry points of the text
// format in which items are read and written.

#include <environment/lmkUtils/AssertAbort.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iosfwd>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

class Folders;
class ScenarioItem;

/// The type of an item; the value is what the text format's keyword stands for.
enum ScenarioItemKind : uint32_t {
    ITEM_NONE = 0,
    ITEM_ACTION = 1,
    ITEM_ELSE_ACTION = 2,
    ITEM_CATALOG = 3,
    ITEM_CONDITION = 4,
    ITEM_CONFIG = 5,
    ITEM_CRITERIA = 6,
    ITEM_ENUM = 7,
    ITEM_ENUMTAB = 8,
    ITEM_EVALUATION = 9,
    ITEM_EXERCISE_LOG = 10,
    ITEM_EXERCISE_NDX = 11,
    ITEM_FOLDER = 12,
    ITEM_FUNCTION = 13,
    ITEM_GENERAL_PARAMETERS = 14,
    ITEM_GROUP = 15,
    ITEM_HISTORY = 16,
    ITEM_INCLUDE = 17,
    ITEM_MODIFIER = 18,
    ITEM_PARAMETER = 19,
    ITEM_PROGRAM = 20,
    ITEM_RETURN = 21,
    ITEM_RULE = 22,
    ITEM_SCENARIO = 23,
    ITEM_SESSION_LOG = 24,
    ITEM_TASK = 25,
    ITEM_TOKEN = 26,
    ITEM_VARIABLE = 27,
};

/// The highest kind that has a keyword.
constexpr uint32_t ITEM_LAST_KIND = ITEM_VARIABLE;

/// True for the kinds that stand for one file: GENERAL_PARAMETERS, INCLUDE, SCENARIO.
bool IsFileScopeKind(uint32_t kind);
/// True for ACTION, ELSE_ACTION, CONDITION and FUNCTION.
bool IsCallableKind(uint32_t kind);
/// True for the kinds a token accepts among its children.
bool IsTokenKind(uint32_t kind);

class ScenarioItemObservable;

/// Implemented by the embedding program to hear about items.
class ScenarioItemObserver {
public:
    virtual ~ScenarioItemObserver() = default;
    /// Called by NotifyObservers with the item and the event number.
    virtual void OnItemEvent(ScenarioItemObservable* source, uint32_t event) = 0;
};

/// A list of observers that an item notifies of events.
class ScenarioItemObservable {
public:
    ScenarioItemObservable() = default;
    virtual ~ScenarioItemObservable() = default;
    /// Appends the observer; the same observer may be added twice.
    virtual void AddObserver(ScenarioItemObserver* observer);
    /// Removes the first entry equal to the observer; nothing if none.
    virtual void RemoveObserver(ScenarioItemObserver* observer);
    /// Calls OnItemEvent on each observer in order.
    virtual void NotifyObservers(uint32_t event);
    /// Stores an id for the embedding program.
    virtual void SetObservableId(uint32_t id);
    /// The stored id, 0xFFFFFFFF until set.
    virtual uint32_t GetObservableId();

    std::vector<ScenarioItemObserver*> observers;
    uint32_t observableId = 0xFFFFFFFFu;
};

/// The reader's cursor over a NUL-terminated text it doesn't own.
struct ScenarioTextStream {
    /// A stream over `length` bytes at `buffer` (the NUL may be counted); the cursor
    /// is put on the first byte that is no separator. A null buffer ends the process.
    ScenarioTextStream(const char* buffer, size_t length);

    /// The byte at the cursor, or NUL at and beyond the end.
    char Peek() const { return cursor < end ? *cursor : '\0'; }

    const char* begin;
    const char* end;
    const char* cursor;
    uint32_t line = 1;
};

/// Construction data handed by the loaders to the items that need it.
struct ItemLoadContext {
    void* first = nullptr;
    void* second = nullptr;
};

/// A node of the item tree. Concrete classes own and store their children.
class ScenarioItem : public ScenarioItemObservable {
public:
    explicit ScenarioItem(ScenarioItem* parent = nullptr);
    ~ScenarioItem() override;

    ScenarioItem(const ScenarioItem&) = delete;
    ScenarioItem& operator=(const ScenarioItem&) = delete;

    /// Appends the direct children (all for filter 0, else those of that kind).
    virtual void GetChildren(std::vector<ScenarioItem*>& out, uint32_t kindFilter = 0) const;
    /// Forgets the children without destroying them.
    virtual void DetachChildren() = 0;
    /// Adds the child before `reference`, or after it when `after`; appends or
    /// prepends when the reference isn't found. The child's parent becomes this item.
    virtual void AddChild(ScenarioItem* child, ScenarioItem* reference, bool after) = 0;
    /// Takes the child out and destroys it when this item is its parent.
    virtual void RemoveChild(ScenarioItem* child) = 0;
    /// Puts `newChild` wherever `oldChild` stands; `newChild`'s parent becomes this item.
    virtual void ReplaceChild(ScenarioItem* newChild, ScenarioItem* oldChild) = 0;
    /// Removes every child through RemoveChild.
    virtual void RemoveAllChildren();
    /// Exchanges the positions of two children when both are found.
    virtual void SwapChildren(ScenarioItem* a, ScenarioItem* b) = 0;
    /// Assigns the name.
    virtual void SetName(const std::string& newName);
    /// Takes the attribute line at the cursor; false if this item doesn't know it.
    virtual bool LoadAttribute(ScenarioTextStream& stream);
    /// Writes every child.
    virtual void SaveChildren(std::ostream& out);
    /// Writes the flag attributes set to "1".
    virtual void SaveAttributes(std::ostream& out);
    /// Whether a child of this kind may be read into this item; true here.
    virtual bool AcceptsChildKind(uint32_t childKind);
    /// Called once the item is in the tree, before its attributes; false refuses it.
    virtual bool OnLoadBegin();
    /// Called at the closing brace; false refuses the item.
    virtual bool OnLoadEnd();
    /// Makes the label of a VARIABLE distinct by leading underscores; true if unchanged.
    virtual bool MakeUniqueLabel();
    /// A copy of the item and its subtree, or null when the kind has no class.
    virtual ScenarioItem* Clone();
    /// Writes the item as a block at depth scenarioDepth; true.
    virtual bool Save(std::ostream& out);
    /// Refreshes the display texts of the subtree, children first.
    virtual void UpdateDisplayTextTree();
    /// Refreshes displayText from the label.
    virtual void UpdateDisplayText();
    /// The first item of that kind and name in the subtree, within the file scope
    /// named `scope` when it isn't empty; null if none.
    virtual ScenarioItem* FindItem(uint32_t kind, const std::string& name, const std::string& scope);
    virtual const ScenarioItem* FindItem(uint32_t kind, const std::string& name,
                                         const std::string& scope) const;
    /// This item or an item in the subtree of one of its siblings; null if none.
    virtual ScenarioItem* FindItemUpward(uint32_t kind, const std::string& name);
    virtual const ScenarioItem* FindItemUpward(uint32_t kind, const std::string& name) const;
    /// Appends every item of that kind and name in the subtree.
    virtual void CollectItems(uint32_t kind, const std::string& name, std::vector<ScenarioItem*>& out,
                              bool includeSelf, bool crossIncludes);
    virtual void CollectItems(uint32_t kind, const std::string& name, std::vector<const ScenarioItem*>& out,
                              bool includeSelf, bool crossIncludes) const;
    /// Appends every item of that kind in the subtree, siblings sorted by label.
    virtual void CollectItemsOfKind(std::vector<ScenarioItem*>& out, uint32_t kind, bool includeSelf,
                                    bool crossIncludes);
    virtual void CollectItemsOfKind(std::vector<const ScenarioItem*>& out, uint32_t kind, bool includeSelf,
                                    bool crossIncludes) const;
    /// This item or the first of that kind in a depth-first walk; null if none.
    virtual ScenarioItem* FindFirstOfKind(uint32_t kind);
    /// This item or the first with exactly that label in a depth-first walk; null if none.
    virtual ScenarioItem* FindByLabel(const std::string& wanted);
    /// Whether the item is this one or lies in its subtree.
    virtual bool ContainsItem(const ScenarioItem* item) const;
    /// The first child, or null.
    virtual ScenarioItem* GetFirstChild() const;
    /// Whether the item is valid; always true here.
    virtual bool IsValid() const;
    /// Puts the children of that kind visible from here in front of `out`, the
    /// outermost level first.
    virtual void CollectVisibleItems(uint32_t kind, std::vector<ScenarioItem*>& out, const std::string& name,
                                     const std::string& scope);

    /// Whether isSelected is "1".
    bool IsSelected() const { return isSelected == "1"; }
    /// Whether isExpanded is "1".
    bool IsExpanded() const { return isExpanded == "1"; }
    /// Whether isaIndex is "1".
    bool IsIndexEntry() const { return isaIndex == "1"; }

    uint32_t GetKind() const { return kind; }
    const std::string& GetName() const { return name; }
    const std::string& GetLabel() const { return label; }
    ScenarioItem* GetParent() const { return parent; }
    const std::string& GetDisplayText() const { return displayText; }

    uint32_t kind = ITEM_NONE;
    std::string name;
    std::string label;
    std::string isaIndex;
    std::string fileName;
    std::string isSelected;
    std::string isExpanded;
    std::string resolvedPath;
    ScenarioItem* parent;
    std::string displayText;
    // Words kept for the embedding program; only hostWord is carried by Clone.
    uint64_t reservedWord = 0;
    uint64_t hostWord = 0;
    uint64_t spareWord = 0;

    /// Kept by the library's index of definitions, not for hosts: the item is
    /// the root of an index, or an answer of one.
    static constexpr uint8_t kIndexRoot = 1;
    static constexpr uint8_t kIndexAnswer = 2;
    uint8_t indexMarks = 0;
};

/// The children store shared by the plain containers: a vector in text order.
/// AddChild with a null child ends the process.
namespace ScenarioItemStore {
/// Appends all children, or those of the kind when the filter isn't 0.
void GetChildren(const std::vector<ScenarioItem*>& children, std::vector<ScenarioItem*>& out,
                 uint32_t kindFilter);
/// Inserts the child by the rule of ScenarioItem::AddChild and sets its parent to `owner`.
void AddChild(std::vector<ScenarioItem*>& children, ScenarioItem* owner, ScenarioItem* child,
              ScenarioItem* reference, bool after);
/// Takes out the first occurrence; destroys it when `owner` is its parent.
void RemoveChild(std::vector<ScenarioItem*>& children, ScenarioItem* owner, ScenarioItem* child);
/// Puts newChild in every position of oldChild and sets its parent to `owner`.
void ReplaceChild(std::vector<ScenarioItem*>& children, ScenarioItem* owner, ScenarioItem* newChild,
                  ScenarioItem* oldChild);
/// Exchanges two positions when both are found.
void SwapChildren(std::vector<ScenarioItem*>& children, ScenarioItem* a, ScenarioItem* b);

/// The placing rule of AddChild for a list of one class: before `reference`,
/// or after it when `after`; last or first when it isn't in the list.
template <typename T> void Place(std::vector<T*>& list, T* child, const ScenarioItem* reference, bool after) {
    auto it = list.end();
    if (reference != nullptr)
        for (it = list.begin(); it != list.end() && *it != reference; ++it) {
        }
    if (it != list.end())
        list.insert(after ? it + 1 : it, child);
    else if (after)
        list.push_back(child);
    else
        list.insert(list.begin(), child);
}
/// Places `child` in the list by the rule of Place when it is a T; false otherwise.
template <typename T>
bool PlaceAs(std::vector<T*>& list, ScenarioItem* child, const ScenarioItem* reference, bool after) {
    T* typed = dynamic_cast<T*>(child);
    if (typed == nullptr)
        return false;
    Place(list, typed, reference, after);
    return true;
}
/// Puts `newChild` in every position of `oldChild` when it is a T; false otherwise.
template <typename T>
bool ReplaceAs(std::vector<T*>& list, ScenarioItem* newChild, const ScenarioItem* oldChild) {
    T* typed = dynamic_cast<T*>(newChild);
    if (typed == nullptr)
        return false;
    for (T*& item : list)
        if (item == oldChild)
            item = typed;
    return true;
}
/// Takes the first occurrence of `child` out of the list; false if it isn't there.
template <typename T> bool Take(std::vector<T*>& list, const ScenarioItem* child) {
    for (auto it = list.begin(); it != list.end(); ++it)
        if (*it == child) {
            list.erase(it);
            return true;
        }
    return false;
}
/// Exchanges `a` and `b` when both are in the list; false otherwise.
template <typename T> bool Swap(std::vector<T*>& list, const ScenarioItem* a, const ScenarioItem* b) {
    T** first = nullptr;
    T** second = nullptr;
    for (T*& item : list) {
        if (first == nullptr && item == a)
            first = &item;
        if (second == nullptr && item == b)
            second = &item;
    }
    if (first == nullptr || second == nullptr)
        return false;
    std::swap(*first, *second);
    return true;
}
} // namespace ScenarioItemStore

/// The keyword of a kind; the empty text outside 1 to 27.
const char* KindKeyword(uint32_t kind);
/// The kind of a keyword (exact match); 0 for an empty or unknown one.
uint32_t KindFromKeyword(const char* text);
/// A new item of that kind and name; a kind without a class ends the process.
ScenarioItem* CreateItem(uint32_t kind, const std::string& name, ItemLoadContext* context);

/// The nearest SCENARIO, GENERAL_PARAMETERS or INCLUDE from the item upward; null if none.
ScenarioItem* FindFileScope(ScenarioItem* item);
/// The topmost item above the item (the item itself at a root).
ScenarioItem* GetTreeRoot(ScenarioItem* item);
/// scenarioRootModel when it is set; else the root of the item's tree.
ScenarioItem* GetModelRoot(ScenarioItem* item);
/// The nearest scenario, criteria or include from the item upward; null if none.
ScenarioItem* FindOwningUnit(ScenarioItem* item);
/// Why the item breaks a validity rule of its own, in a few words (`no call`,
/// `AND without sub-conditions`), or "" when it keeps them all. The rule that every
/// child must be valid is no rule of its own: an item invalid only through an item
/// below it answers "". The answer comes from the rules that UpdateValidity applies,
/// read on the tree as it stands; after UpdateDisplayTextTree an item with a reason
/// is invalid.
std::string InvalidityReason(ScenarioItem& item);

/// Turns "/" into "\" (but for a leading one) and folds repeated "\" (but for a
/// leading pair).
void NormalizePath(std::string& path);
/// What follows the last "\" or "/"; valid until the next call; "" for null.
const char* FileNameOf(const char* path);
/// Resolves `file` (or `directory` alone when `file` is null) through the
/// installation's data path into `directory`, normalised.
void ResolveDataPath(const char* file, std::string& directory);
/// The path with its last two characters replaced by "par"; "" stays "".
std::string ParameterFileOf(const std::string& path);

/// The top item of the root model, set by whoever loads it; never freed.
extern Folders* scenarioRootModel;
/// Where the loaders and the items write their messages.
extern std::ostream* scenarioLog;
/// The writer's indentation and the skipping reader's brace balance.
extern int32_t scenarioDepth;

/// Reads one item from a file. Returns the top item, or null after a message on `log`.
ScenarioItem* LoadScenarioFile(const char* path, std::ostream* log, bool headerOnly);
/// Writes the item to a file in the writer's form, with CR LF line ends (which a
/// nameless header needs to be read back). The file is replaced all or nothing:
/// false, with the old file untouched, when it can't be written.
bool SaveScenarioFile(ScenarioItem& item, const std::string& path);
/// The text SaveScenarioFile writes.
std::string ScenarioText(ScenarioItem& item);
/// Reads one item from text in memory under `parent`. Returns it, or null.
ScenarioItem* LoadScenarioText(ScenarioTextStream& stream, ScenarioItem* parent, ItemLoadContext* context,
                               std::ostream* log, bool headerOnly);
/// The recursive reader. Returns the item, or null when its text is refused.
ScenarioItem* ReadItem(ScenarioTextStream& stream, ScenarioItem* parent, ItemLoadContext* context,
                       bool headerOnly);
/// Reads "TYPEOF KEYWORD (name)" at the cursor without moving it; false if malformed.
bool ReadHeader(ScenarioTextStream& stream, uint32_t& kind, std::string& name);
/// ReadStringAttribute with the length of the key given.
bool ReadStringAttributeOfLength(ScenarioTextStream& stream, const char* key, size_t keyLength,
                                 std::string& value);
/// The closing quote of `key="value"`, for a key of `keyLength` bytes known to
/// stand at the cursor (the value starts two bytes after the key); null if the text
/// ends first.
const char* FindAttributeValueEnd(const ScenarioTextStream& stream, size_t keyLength);
/// Whether the literal `key` stands at the cursor.
inline bool AtAttributeKey(const ScenarioTextStream& stream, const char* key, size_t keyLength) {
    // Inline, so that a literal key is compared where it is written, a word at a
    // time: an item tries most of its keys on every line, and nearly all of them
    // are turned down here without a call.
    return static_cast<size_t>(stream.end - stream.cursor) >= keyLength &&
           std::memcmp(stream.cursor, key, keyLength) == 0;
}
/// ReadStringAttribute for a value that is converted at once: `value` points into
/// the text and is valid as long as the text.
inline bool ReadAttributeText(ScenarioTextStream& stream, const char* key, std::string_view& value) {
    const size_t keyLength = std::char_traits<char>::length(key);
    if (!AtAttributeKey(stream, key, keyLength))
        return false;
    const char* close = FindAttributeValueEnd(stream, keyLength);
    if (close == nullptr)
        return false;
    const char* start = stream.cursor + keyLength + 2;
    value = std::string_view(start, static_cast<size_t>(close - start));
    return true;
}
/// Matches `key="value"` at the cursor, key by prefix, without moving it; false if
/// the key differs or the value has no closing quote.
inline bool ReadStringAttribute(ScenarioTextStream& stream, const char* key, std::string& value) {
    std::string_view text;
    if (!ReadAttributeText(stream, key, text))
        return false;
    value.assign(text.data(), text.size());
    return true;
}
/// Moves the cursor to the start of the next line.
void NextLine(ScenarioTextStream& stream);
/// Skips lines until scenarioDepth comes back to 0; false if the text ends first.
bool SkipBlock(ScenarioTextStream& stream);
/// Writes the empty line and the header at depth scenarioDepth.
void WriteHeader(std::ostream& out, uint32_t kind, const std::string& name);
/// Writes one attribute line at depth scenarioDepth; nothing for a null value.
void WriteAttribute(std::ostream& out, const char* key, const char* value);
/// Appends the blank-separated words of `value`.
void SplitWords(const std::string& value, std::vector<std::string>& words);
/// Joins the words with single blanks into `buffer` of `size` bytes (cut short if
/// needed, always NUL-terminated).
void JoinWords(const std::vector<std::string>& words, char* buffer, size_t size = 1024);

/// Where the reader found the items it read, for tools that report on items by
/// row as a compiler reports on lines; items keep no row themselves. While a
/// record lives, the reader notes for each item it makes the 1-based row of its
/// header line and the file being read; with none alive it notes nothing. The
/// file is the path given to LoadScenarioFile, or for LoadScenarioText the name
/// held by the innermost ItemRowRecord::File alive ("" without one). An include
/// read by reference notes its content under the include's FILE text when a
/// repository gave it, or under the path read from disk, at its rows there. An
/// item that is destroyed is forgotten, so that an item made later at its address
/// doesn't inherit its place. Every live record notes; one thread, as for all of
/// the model.
class ItemRowRecord {
public:
    /// The file an item was read from ("" when unnamed) and the row of its header.
    struct Place {
        std::string file;
        uint32_t row = 0;
    };

    /// Names the file that the reader reads while the object lives; the former
    /// name comes back when it goes. Objects nest like scopes.
    class File {
    public:
        explicit File(std::string name);
        ~File();
        File(const File&) = delete;
        File& operator=(const File&) = delete;

    private:
        std::string name_;
        const std::string* former_;
    };

    ItemRowRecord();
    ~ItemRowRecord();
    ItemRowRecord(const ItemRowRecord&) = delete;
    ItemRowRecord& operator=(const ItemRowRecord&) = delete;

    /// Where the reader found `item`; false for an item that no reader made while
    /// this record lived (one a program or the model made, such as a parameter
    /// added to upgrade a call).
    bool Find(const ScenarioItem* item, Place& place) const;

    /// Gives `copy` the place of `original`, and each item below `copy` the place
    /// of the item at the same position below `original`, as far as kind and name
    /// agree; for the copies that the model makes of what it read. Nothing when
    /// no record lives.
    static void NoteCopy(const ScenarioItem& original, const ScenarioItem& copy);

private:
    friend class ScenarioItem;
    friend ScenarioItem* ReadItem(ScenarioTextStream& stream, ScenarioItem* parent, ItemLoadContext* context,
                                  bool headerOnly);

    struct Store;

    static bool Recording() { return live_ != nullptr; }
    // The reader notes the item it made, the destructor forgets it.
    static void NoteRead(const ScenarioItem* item, uint32_t row);
    static void Forget(const ScenarioItem* item);

    std::unique_ptr<Store> store_;
    ItemRowRecord* outer_;
    static ItemRowRecord* live_;
    static const std::string* fileName_;
};
