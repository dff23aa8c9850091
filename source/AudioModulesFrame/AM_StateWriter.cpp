#include "AM_StateWriter.h"

#include "AM_AudioManager.h"
#include "AM_ChunkCodec.h"
#include "AM_Format.h"
#include "AM_ParaMan.h"
#include "AM_StateLines.h"
#include "AM_StateSection.h"

#include <bit>
#include <cstring>

template <class... A>
void AM_StateWriter::print(const char* format, const A&... args) const {
    char line[512];
    AM_STD::sprintv(line, sizeof line, format, args...);
    put(line);
}

void AM_StateWriter::createSetting(AM_SettingProc proc, void* user,
                                   const AM_StateOptions& options) {
    if (!proc) {
        AM_Log("AM_ParaMan::createSetting: inParamReportProc is NULL!\n");
        return;
    }
    sink = {proc, user};
    waiting.clear();
    writeMetadata();
    writeHeader();
    if (paraMan.getNumMatrixSlots() > 0) writeModulators();
    AM_AudioMan* manager = paraMan.getManager();
    for (i32 i = 0; i < manager->getNumObjects(); ++i)
        if (AM_AudioObject* module = manager->getObject(i)) writeModule(*module, options);
}

// --- the sections ------------------------------------------------------------------------

void AM_StateWriter::writeMetadata() const {
    put("/*@meta\n\n");
    for (const AM_MetaKey& meta : k_metaKeys) {
        const std::string value = AM_escapeMeta(paraMan.getText(paraMan.standardId(meta.row)));
        put(std::string(meta.key) + ":\n'" + value + "'\n\n");
    }
    put("*/\n\n");
}

void AM_StateWriter::writeHeader() const {
    const AM_PluginInfo& plugin = paraMan.getManager()->pluginInfo;
    print("#AM=%s\n", plugin.name);
    print("#Vers=%X\n", plugin.versionNumber);
    put(std::endian::native == std::endian::little ? "#Endian=little\n" : "#Endian=big\n");
}

void AM_StateWriter::writeModulators() const {
    put("\n/*\n\n\tModulator Reference Table\n\n*/\n\n");
    const std::vector<std::string> sources = AM_modSourceNames(*paraMan.getManager());
    print("#nm=%d\n", static_cast<i32>(sources.size()));
    for (const std::string& name : sources)
        print("#ms=%s\n", name);
    const std::vector<std::string> buffers = AM_modBufferNames(*paraMan.getManager());
    print("#nv=%d\n", static_cast<i32>(buffers.size()));
    for (const std::string& name : buffers)
        print("#mv=%s\n", name);
}

bool AM_StateWriter::isPartOfSave(AM_AudioObject& module, const AM_StateOptions& options) const {
    constexpr f32 selectedModule = 2;
    const auto value = [this](AM_StandardRow row) {
        return paraMan.getParameterTarget(paraMan.standardId(row));
    };
    return options.complete || value(k_rowPatchFormat) != selectedModule ||
           value(k_rowSelectModule) == static_cast<f32>(module.getObjectId());
}

void AM_StateWriter::writeModule(AM_AudioObject& module, const AM_StateOptions& options) {
    if (module.getNumOwnParameters() == 0) return;
    if (!isPartOfSave(module, options)) {
        AM_Log("%s not part of save", module.getName());
        return;
    }
    print("\n/*\n\n\t%s\n\n*/\n\n", module.getLongName());
    print("#cm=%s\n", module.getShortName());
    const bool noInstance = paraMan.getParameterTarget(paraMan.standardId(k_rowNoInstance)) > 0.5f;
    const i32 first = module.getFirstParameter();
    const i32 end = first + module.getNumOwnParameters();
    for (i32 id = first; id < end; ++id) {
        const bool left = rows.isMetadata(id) || (noInstance && rows.isInstanceRow(id));
        if (!left && rows.isSaved(id)) writeRow(id, options.comments);
    }
    for (i32 id = first; options.complete && id < end; ++id)
        if (paraMan.isLocked(id)) print("#lock=%s:%s\n", module.getShortName(), rows.shortName(id));
}

void AM_StateWriter::writeRow(i32 id, bool comments) {
    const ParameterInfo& info = *paraMan.row(id);
    const std::string name = rows.shortName(id);
    const i32 bytes = rows.binarySize(id);
    if (bytes > 0) {
        waiting.push_back(id);
        const i32 size = bytes + k_sectionHeaderSize;
        if (comments)
            print("%s=%d\t\t\t\t// binary data for %s\n", name, size, info.longName);
        else
            print("%s=%d\n", name, size);
        return;
    }
    std::string line = name + '=' + rows.valueText(id, AM_StateLines::k_maxLine - name.size() - 1);
    std::string shown;
    if (!comments || info.kind == k_complexText) {
        // A text has no form with a comment.
    } else if (info.baseKind() == k_reference) {
        line += std::string("\t// ") + info.longName;
    } else if (info.baseKind() != k_integer) {
        line += std::string("\t\t\t// ") + info.longName;
    } else {
        line += std::string("\t\t\t\t// ") + info.longName;
        if (rows.showsOtherText(id, &shown)) line += '=' + shown;
    }
    put(line + '\n');
}

// --- the text ----------------------------------------------------------------------------

void AM_StateWriter::fillBinary() {
    const boost::recursive_mutex::scoped_lock hold(paraMan.complexLock());
    binary.clear();
    for (const i32 id : waiting) {
        const void* data = paraMan.getParamPointer(id);
        if (data)
            AM_appendSection(binary, *paraMan.row(id), data);
        else
            AM_Log("dataPtr == NULL");
    }
    waiting.clear();
}

void AM_StateWriter::appendChunk() {
    // What would be padding to a multiple of 4, with the terminator among it, is line ends.
    text.append((4 - (text.size() + 1) % 4) % 4 + 1, '\n');
    const i32 size = static_cast<i32>(binary.size());
    char heading[128];
    AM_STD::sprintv(heading, sizeof heading,
                    "\n\n// Section for ugly compressed binary Data\n// DON'T TOUCH THIS\n\n"
                    "$$$$%d\n",
                    size);
    text += heading;
    encodeChunk(text, binary.data(), size);
    text += '\n';
}

const char* AM_StateWriter::getState(i32* outSize, const char* prefix,
                                     const AM_StateOptions& options) {
    text.clear();
    if (prefix) {
        for (const char* c = prefix; *c; ++c)
            if (static_cast<unsigned char>(*c) >= 0x20) text += *c;
        text += '\n';
    }
    createSetting([](AM_ParaMan*, const char* piece,
                     void* user) { *static_cast<std::string*>(user) += piece; },
                  &text, options);
    fillBinary();
    if (binary.size() > k_maxChunkSize)
        AM_Log("ERROR: %u bytes are too many for a state's chunk", static_cast<u32>(binary.size()));
    else if (!binary.empty())
        appendChunk();
    if (outSize) *outSize = static_cast<i32>(text.size()) + 1;
    return text.c_str();
}
