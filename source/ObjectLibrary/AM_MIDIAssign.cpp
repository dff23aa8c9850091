#include "AM_MIDIAssign.h"

#include "AM_StateText.h"
#include "AM_Text.h"

#include <bit>
#include <cstring>
#include <thread>

namespace {

using RowWords = std::array<u32, sizeof(MidiAssign) / sizeof(u32)>;
constexpr i32 k_remainderWord = 3;
static_assert(offsetof(MidiAssign, remainder) == k_remainderWord * sizeof(u32));

MidiAssign removedRow() {
    MidiAssign row;
    row.controller = MidiAssignMap::k_noController;
    return row;
}

} // namespace

const char k_midiModeNames[k_numMidiModes][32] = {
    "none",          "normal",   "integer",      "fine",   "octaves",
    "semitone",      "selected", "fineSelected", "page",   "pageUpDown",
    "pageLeftRight", "pageLeft", "pageRight",    "pageUp", "pageDown"};
const char k_midiTypeNames[k_numMidiTypes][32] = {"Encoder127", "Encoder64", "Continuous7bit",
                                                  "Continuous14bit"};

// The lock for a thread that may wait.
class MidiAssignMap::Hold {
public:
    explicit Hold(const MidiAssignMap& owner) : map(owner) {
        while (!map.lock.tryLock())
            std::this_thread::yield();
    }
    ~Hold() { map.lock.unlock(); }
    Hold(const Hold&) = delete;
    Hold& operator=(const Hold&) = delete;

private:
    const MidiAssignMap& map;
};

MidiAssignMap::MidiAssignMap()
    : places(std::make_unique<Place[]>(k_maxRows)),
      pages(std::make_unique<PagePlace[]>(k_numPages)) {
    char line[64];
    AM_STD::sprintv(line, sizeof line, "// %s %s %s\n\n\n", "Global", "MidiCC", "Map");
    headerText = line;
}

MidiAssign MidiAssignMap::row(i32 index) const {
    if (index < 0 || index >= getNumberOfMIDIassigns()) return removedRow();
    const Place& place = places[static_cast<size_t>(index)];
    RowWords words;
    for (size_t i = 0; i < words.size(); ++i)
        words[i] = place.words[i].load(std::memory_order_acquire);
    // The row may have been removed, and its place taken by another one, meanwhile.
    if (place.words[0].load(std::memory_order_relaxed) != words[0]) return removedRow();
    return std::bit_cast<MidiAssign>(words);
}

void MidiAssignMap::store(i32 index, const MidiAssign& row) {
    const auto words = std::bit_cast<RowWords>(row);
    Place& place = places[static_cast<size_t>(index)];
    for (size_t i = words.size(); i-- > 0;)
        place.words[i].store(words[i], std::memory_order_release);
}

// Leaves the rest of the row as it is for a thread that reads it just now.
void MidiAssignMap::remove(i32 index) {
    const auto words = std::bit_cast<RowWords>(removedRow());
    places[static_cast<size_t>(index)].words[0].store(words[0], std::memory_order_release);
}

void MidiAssignMap::setRemainder(i32 index, i32 remainder) {
    if (index < 0 || index >= k_maxRows) return;
    places[static_cast<size_t>(index)].words[k_remainderWord].store(static_cast<u32>(remainder),
                                                                    std::memory_order_relaxed);
}

// --- changes -----------------------------------------------------------------------------

// Under the lock.
bool MidiAssignMap::append(const MidiAssign& row) {
    const i32 end = count.load(std::memory_order_relaxed);
    i32 index = end;
    if (end == k_maxRows)
        for (index = 0; index < end && this->row(index).controller != k_noController;)
            ++index;
    if (index == k_maxRows) {
        AM_Log("error: too many midi assigns. cannot set any more!");
        return false;
    }
    store(index, row);
    if (index == end) count.store(end + 1, std::memory_order_release);
    return true;
}

bool MidiAssignMap::learn(const MidiAssign* rows, i32 number) {
    if (!lock.tryLock()) return false;
    for (const MidiAssign* row = rows; row != rows + number; ++row) {
        const i32 end = getNumberOfMIDIassigns();
        i32 index = 0;
        while (index < end && this->row(index).assigned() != row->assigned())
            ++index;
        if (index == end && append(*row)) markChanged();
    }
    lock.unlock();
    return true;
}

bool MidiAssignMap::add(const MidiAssign& row) {
    const Hold hold(*this);
    if (!append(row)) return false;
    markChanged();
    return true;
}

bool MidiAssignMap::setNumberOfMIDIassigns(i32 number) {
    if (number < 0 || number > k_maxRows) {
        AM_Log("error: MidiAssignMap::setNumberOfMIDIassigns, number of assigns is limited to "
               "1024");
        return false;
    }
    const Hold hold(*this);
    for (i32 index = getNumberOfMIDIassigns(); index < number; ++index)
        store(index, MidiAssign());
    count.store(number, std::memory_order_release);
    markChanged();
    return true;
}

i32 MidiAssignMap::removeParameter(i32 parameter) {
    if (parameter < 0) return 0;
    const Hold hold(*this);
    i32 removed = 0;
    for (i32 index = 0; index < getNumberOfMIDIassigns(); ++index) {
        const MidiAssign old = row(index);
        if (old.controller == k_noController || old.parameter != parameter) continue;
        remove(index);
        ++removed;
    }
    if (removed > 0) markChanged();
    return removed;
}

// --- pages -------------------------------------------------------------------------------

AM_MidiPage MidiAssignMap::page(i32 index) const {
    AM_MidiPage page;
    if (index < 0 || index >= k_numPages) return page;
    const PagePlace& place = pages[static_cast<size_t>(index)];
    std::array<u64, 4> name;
    for (size_t i = 0; i < name.size(); ++i)
        name[i] = place.name[i].load(std::memory_order_relaxed);
    // Terminated even if it was caught half written: the last byte is never but 0.
    std::memcpy(page.name, name.data(), sizeof page.name);
    const u32 neighbours = place.neighbours.load(std::memory_order_relaxed);
    page.left = static_cast<u8>(neighbours);
    page.right = static_cast<u8>(neighbours >> 8);
    page.up = static_cast<u8>(neighbours >> 16);
    page.down = static_cast<u8>(neighbours >> 24);
    return page;
}

bool MidiAssignMap::setPage(i32 index, const AM_MidiPage& page) {
    if (index < 0 || index >= k_numPages) return false;
    const Hold hold(*this);
    storePage(index, page);
    markChanged();
    return true;
}

void MidiAssignMap::storePage(i32 index, const AM_MidiPage& page) {
    std::string name(page.name, strnlen(page.name, sizeof page.name));
    std::erase_if(name, [](char c) { return static_cast<unsigned char>(c) < 0x20; });
    name = AM_STD::stdString_trimWhitespaces(AM_truncateUtf8(name, sizeof page.name - 1));
    std::array<u64, 4> words = {};
    std::memcpy(words.data(), name.data(), name.size());
    PagePlace& place = pages[static_cast<size_t>(index)];
    for (size_t i = 0; i < words.size(); ++i)
        place.name[i].store(words[i], std::memory_order_relaxed);
    const auto number = [](u8 neighbour) { return u32{neighbour} < k_numPages ? neighbour : 0u; };
    place.neighbours.store(number(page.left) | number(page.right) << 8 | number(page.up) << 16 |
                               number(page.down) << 24,
                           std::memory_order_relaxed);
}

// --- as a whole --------------------------------------------------------------------------

AM_MidiAssignments MidiAssignMap::content() const {
    AM_MidiAssignments content;
    content.rows.reserve(k_maxRows);
    const Hold hold(*this);
    for (i32 index = 0; index < getNumberOfMIDIassigns(); ++index) {
        const MidiAssign copy = row(index);
        if (copy.controller != k_noController) content.rows.push_back(copy);
    }
    for (i32 index = 0; index < k_numPages; ++index)
        content.pages[static_cast<size_t>(index)] = page(index);
    return content;
}

void MidiAssignMap::setContent(const AM_MidiAssignments& content) {
    const Hold hold(*this);
    // An audio thread that goes through the rows finds removed ones until the new ones stand.
    const i32 end = getNumberOfMIDIassigns();
    for (i32 index = 0; index < end; ++index)
        remove(index);
    count.store(0, std::memory_order_release);
    for (const MidiAssign& row : content.rows)
        if (!append(row)) break;
    for (i32 index = 0; index < k_numPages; ++index)
        storePage(index, content.pages[static_cast<size_t>(index)]);
    otherPage.reset();
    lowHalf.reset();
}
