// Which rows a state holds, and how their values read in its text.
#pragma once

#include "AM_StandardRows.h"
#include "AM_StateText.h"

class AM_AudioObject;
class AM_ParaMan;

// How a state is loaded.
enum AM_LoadMode : i32 {
    k_loadPreset = 0,  // a whole preset: what it does not name goes to its default
    k_loadSong = 1,    // the state of an instance out of a host's project: locks come with it
    k_loadPartial = 2, // only what it names changes
};

// The six metadata values, in the order of the text.
struct AM_MetaKey {
    const char* key;
    AM_StandardRow row;
};
inline constexpr AM_MetaKey k_metaKeys[] = {
    {"Author", k_rowMetaAuthor},     {"Description", k_rowMetaDescription},
    {"Usage", k_rowMetaUsage},       {"Categories", k_rowMetaCategories},
    {"Features", k_rowMetaFeatures}, {"Character", k_rowMetaCharacter},
};

// Reads the table of one parameter manager. Not on an audio thread.
class AM_StateRows {
public:
    explicit AM_StateRows(AM_ParaMan& manager) : paraMan(manager) {}

    // Rows that states hold: no meters, buttons, place holders, nor what lives for a session only;
    // of complex ones, texts and those with memory behind them.
    bool isSaved(i32 id) const;
    // Rows of the instance, not of its sound: in hosts' projects, not in preset files.
    bool isInstanceRow(i32 id) const;
    // Texts that stand in the metadata block.
    bool isMetadata(i32 id) const;
    // Bytes of a complex row that is no text; 0 for other rows.
    i32 binarySize(i32 id) const;

    // The text of a row's value behind "name=": its list text if that reads back to the same value,
    // else a number; "module:name" or "none:assigned" of a reference; the quoted text of a text
    // row, cut so that `room` characters hold it.
    std::string valueText(i32 id, size_t room) const;
    // True if valueText has a number where the editor shows `*shown`.
    bool showsOtherText(i32 id, std::string* shown) const;
    // The value that `text` means for a row that holds one; nothing if it means none.
    std::optional<f32> valueOf(i32 id, std::string_view text) const;

    std::string shortName(i32 id) const;
    // The module with this short name, or null.
    AM_AudioObject* findModule(std::string_view name) const;
    // The row of a module by its short name, -1 if there is none.
    i32 findRow(AM_AudioObject* module, std::string_view name) const;
    // The row of "module:name", -1 if there is none.
    i32 findPair(std::string_view pair) const;

private:
    i32 listTexts(i32 id, const char* const** texts) const;
    i32 placeInList(i32 id, std::string_view text) const;
    std::string referenceText(i32 id) const;
    std::string quotedText(i32 id, size_t room) const;

    AM_ParaMan& paraMan;
};
