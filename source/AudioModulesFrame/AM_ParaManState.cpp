// The state of an instance: what AM_ParaMan hands to the writer and the reader.
#include "AM_ParaMan.h"
#include "AM_StateReader.h"
#include "AM_StateSection.h"
#include "AM_StateWriter.h"

bool AM_ParaMan::isPlaceHolder(i32 id) const {
    const i32 place = id - ownParamBase - layout.fixed();
    return place >= 0 && place < k_numFixedRows;
}

bool AM_ParaMan::isMatrixSource(i32 id) const {
    const i32 place = id - ownParamBase - layout.matrix();
    if (place < 0 || place >= layout.numMatrixSlots * k_rowsPerMatrixSlot) return false;
    return place % k_rowsPerMatrixSlot == 1 || place % k_rowsPerMatrixSlot == 3;
}

AM_AudioObject* AM_ParaMan::ownerOf(i32 id) const {
    const ParameterInfo* info = row(id);
    return info ? ownerOf(*info) : nullptr;
}

void AM_ParaMan::restoreParameterValue(i32 id, f32 value) {
    constexpr f32 loadTime = 44100; // frames, as owners are told
    const ParameterInfo* info = row(id);
    AM_AudioObject* owner = info ? ownerOf(*info) : nullptr;
    if (owner && owner->isAction(info->indexInOwner))
        store(id, AM_wholeNumber(clamped(*info, id, value)), true);
    else
        setParameterValue(id, value, loadTime, true);
}

void AM_ParaMan::keepInitialTexts() {
    for (i32 id = 0; id < numParamsTotal; ++id)
        if (state->rows[id].kind == k_complexText) initialTexts[id] = getText(id);
}

const std::string& AM_ParaMan::getInitialText(i32 id) const {
    static const std::string none;
    const auto found = initialTexts.find(id);
    return found == initialTexts.end() ? none : found->second;
}

AM_StateOptions AM_ParaMan::stateOptions(bool complete) const {
    return {complete, stateComments};
}

void AM_ParaMan::createSetting(AM_SettingProc proc, void* user) {
    stateWriter->createSetting(proc, user, stateOptions(false));
}

const char* AM_ParaMan::getState(i32* outSize, const char* prefix) {
    return stateWriter->getState(outSize, prefix, stateOptions(false));
}

bool AM_ParaMan::loadState(const char* text, i32 size, i32 mode) {
    return stateReader->load(text, size, mode);
}

const char* AM_ParaMan::writeStateSection(i32* outSize, bool complete, const char* header) {
    return stateWriter->getState(outSize, header, stateOptions(complete));
}

bool AM_ParaMan::loadStateText(const char* text, i32 size, i32 mode) {
    return loadState(text, size, mode);
}

const void* AM_ParaMan::writeState(i32* outSize) {
    stateStream = AM_writeStateStream(*this);
    if (outSize) *outSize = static_cast<i32>(stateStream.size());
    return stateStream.data();
}

bool AM_ParaMan::readState(const void* stream, i32 size) {
    return AM_readStateStream(*this, stream, size);
}
