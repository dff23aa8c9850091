#include "Instance.h"

#include "AM_DelayNetWorks.h"
#include "AM_LetterPicker.h"
#include "AM_MidiAssignFile.h"
#include "AM_Preferences.h"
#include "AM_StateRows.h"
#include "AM_Text.h"
#include "Errors.h"
#include "HostFile.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <random>
#include <vector>
#include <xmmintrin.h>

namespace {
constexpr f64 k_bpm = 120;
constexpr f32 k_quartersPerBar = 4;
// A bypass fade takes 511 quads of 16 frames.
constexpr int k_fadeFrames = 511 * 16;

// Flush to zero and denormals are zero while a block runs, as every binding sets them.
class DenormalsAreZero {
public:
    DenormalsAreZero() : saved(_mm_getcsr()) { _mm_setcsr(saved | 0x8040u); }
    ~DenormalsAreZero() { _mm_setcsr(saved); }

private:
    unsigned saved;
};

// The number in `text`, which may also be one of the row's value texts.
f32 parseValue(AM_ParaMan& parameters, int id, const std::string& name, const std::string& text) {
    f32 value = 0;
    const char* end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, value);
    if (error == std::errc() && rest == end && std::isfinite(value)) return value;
    const ParameterInfo& row = *parameters.row(id);
    if (row.kind == k_integer && row.maxValue - row.minValue <= 1000) {
        for (f32 candidate = row.minValue; candidate <= row.maxValue; candidate += 1)
            if (parameters.displayText(id, candidate) == text) return candidate;
    }
    throw UsageError("--set " + name + ": '" + text + "' is not a value of it");
}

std::string plainNumber(f32 value) {
    char text[32];
    const auto result = std::to_chars(text, text + sizeof text, value);
    return std::string(text, result.ptr);
}
} // namespace

Instance::Instance(const Options& options, double rate)
    : audioMan(std::make_unique<Glassmere_AudioMan>(k_glassmereId)), sampleRate(rate) {
    audioMan->setHost("glassmere-render");
    audioMan->setApi("offline");
    audioMan->initialize();
    network = dynamic_cast<AM_DelayNetWorks*>(audioMan->findObject("FDN"));
    if (!network || !audioMan->getBlockContext())
        throw RenderError("the plug-in could not be started");
    // What waits for a tick is done between blocks, the same way in each render.
    audioMan->setRunsOnHostLoop(true);
    audioMan->setPreferenceValue(k_prefBaseLatency, options.baseLatency ? 1 : 0);
    for (const auto& [key, value] : options.preferences)
        setPreference(key, value);
    audioMan->changePlugInLatency(0);
    audioMan->setSampleRate(rate);
    audioMan->setBlockSize(options.block);
    audioMan->setRenderMode(1);

    if (!options.preset.empty()) loadPreset(options.preset);
    if (options.program) loadProgram(options.program->first, options.program->second);
    if (!options.assignments.empty()) readAssignments(options.assignments);
    if (options.code) setCode(*options.code);
    for (const auto& [name, text] : options.settings)
        setValue(name, text);
    for (const std::string& name : options.presses)
        press(name);
    settle(options.block);
}

Instance::~Instance() = default;

int Instance::requireParameter(const std::string& name) const {
    const int id = parameters().findParameter(name.c_str());
    if (id < 0) throw UsageError("there is no parameter '" + name + "'; --list shows them");
    return id;
}

void Instance::setCode(const std::string& code) {
    std::vector<char> text(code.begin(), code.end());
    text.push_back('\0');
    parameters().setParameterValueComplex(
        audioMan->getParameterId(network->getObjectId(), AM_DelayNetWorks::kParams), text.data(),
        static_cast<i32>(text.size()));
}

void Instance::setText(int id, const std::string& option, const std::string& text) {
    if (text.size() + 1 > static_cast<size_t>(parameters().row(id)->maxValue))
        throw UsageError(option + ": the text is too long");
    parameters().setParameterValueComplex(id, text.c_str(), static_cast<i32>(text.size()) + 1);
}

// On this instance alone: a render changes nobody's settings.
void Instance::setPreference(const std::string& key, const std::string& value) {
    const AudioPrefEnum* entry = AM_PreferencesAudio::find(key, value);
    if (!entry) throw UsageError("--pref " + key + ": there is no such preference or value");
    if (entry->id < 0) throw UsageError("--pref " + key + ": it does not concern a render");
    audioMan->setPreferenceValue(entry->id, entry->value);
}

void Instance::readAssignments(const std::string& file) {
    const HostFile place(file);
    auto* store = dynamic_cast<AM_PreferencesAudio*>(audioMan->getSharedPreferences());
    if (!store || !AM_MidiAssignFile::readFile(place.files(), place.name(), store->getMidiAssigns(),
                                               parameters()))
        throw RenderError("the assignments " + file + " can't be read");
}

void Instance::loadProgram(int bank, int number) {
    audioMan->controllerInput(0, 0, bank, 0);
    if (!audioMan->setMidiProgram(number, nullptr))
        throw RenderError("there is no program " + std::to_string(bank) + ':' +
                          std::to_string(number));
}

void Instance::sendMidi(const std::uint8_t* bytes, int length, int frame) {
    audioMan->handleMidiBytes(bytes, length, frame);
}

void Instance::loadPreset(const std::string& file) {
    const HostFile place(file);
    if (!place.files().exists(place.name()))
        throw RenderError("the preset " + file + " is not there");
    if (!audioMan->loadPreset(place.files(), place.name()))
        throw RenderError(file + " can't be read or is no preset of Glassmere");
}

void Instance::savePreset(const Options& options) {
    for (const auto& [key, text] : options.metadata) {
        const auto found = std::find_if(
            std::begin(k_metaKeys), std::end(k_metaKeys), [&key = key](const AM_MetaKey& meta) {
                return AM_STD::toLower(meta.key) == AM_STD::toLower(key);
            });
        if (found == std::end(k_metaKeys)) throw UsageError("there is no metadata '" + key + "'");
        setText(parameters().standardId(found->row), "--meta " + key, text);
    }
    const HostFile place(options.savedPreset);
    if (!options.force && place.files().exists(place.name()))
        throw UsageError(options.savedPreset + " is there already (--force overwrites it)");
    parameters().setStateComments(options.comments);
    if (!audioMan->savePreset(place.files(), place.name()))
        throw RenderError("can't write the preset " + options.savedPreset);
}

void Instance::setValue(const std::string& name, const std::string& text) {
    const int id = requireParameter(name);
    const ParameterInfo& row = *parameters().row(id);
    if (row.isMeter()) throw UsageError("'" + name + "' is a meter and can't be set");
    if (row.flags & k_flagMomentary)
        throw UsageError("'" + name + "' is a button: --press " + name);
    if (row.kind == k_complexText) return setText(id, "--set " + name, text);
    if (row.isComplex()) throw UsageError("'" + name + "' holds no single value");
    const f32 value = parseValue(parameters(), id, name, text);
    if (!(value >= row.minValue && value <= row.maxValue))
        throw UsageError("--set " + name + " wants " + plainNumber(row.minValue) + " to " +
                         plainNumber(row.maxValue));
    parameters().setParameterValue(id, value, 0, true);
}

void Instance::press(const std::string& name) {
    const int id = requireParameter(name);
    if (!(parameters().row(id)->flags & k_flagMomentary))
        throw UsageError("'" + name + "' is no button");
    // What a button draws depends on how long the plug-in has run; a process that has just begun
    // would draw the same code each time.
    for (u32 steps = std::random_device()() & 0xfffff; steps > 0; --steps)
        AM_LetterPicker::step();
    parameters().setParameterValue(id, 1, 0, true);
}

void Instance::settle(int block) {
    const int bypass = parameters().findParameter("Active FDN");
    if (bypass >= 0 && parameters().getParameterTarget(bypass) < 0.5f) {
        std::vector<float> silence[2];
        for (std::vector<float>& channel : silence)
            channel.resize(static_cast<size_t>(block));
        float* const channels[2] = {silence[0].data(), silence[1].data()};
        for (int done = 0; done <= k_fadeFrames; done += block)
            process(channels, channels, block);
        framesDone = 0;
    }
    audioMan->reset();
}

void Instance::process(float* const (&in)[2], float* const (&out)[2], int count) {
    BlockContext* context = audioMan->getBlockContext();
    context->numFrames = count;
    context->bpm = k_bpm;
    context->quartersPerBar = k_quartersPerBar;
    for (int channel = 0; channel < 2; ++channel) {
        context->inputs[channel] = in[channel];
        context->outputs[channel] = out[channel];
    }
    const f64 position = static_cast<f64>(framesDone) / sampleRate * k_bpm / 60;
    const f64 bar = std::floor(position / k_quartersPerBar) * k_quartersPerBar;
    const DenormalsAreZero guard;
    audioMan->setTransport(context, position, bar);
    audioMan->processBlock();
    audioMan->idle();
    framesDone += count;
}

int Instance::latency() const {
    return audioMan->getLatency();
}

bool Instance::isAsleep() const {
    return network->isAsleep();
}

std::string Instance::code() const {
    return parameters().getText(
        audioMan->getParameterId(network->getObjectId(), AM_DelayNetWorks::kParams));
}
