// One row of the parameter table as a VST3 parameter.
#pragma once

#include "AM_Parameter.h"

#include "public.sdk/source/vst/vstparameters.h"

// Holds a copy of its row, so it outlives the table. Hosts show plain values with two decimals,
// whatever the row's own display. Host main thread, but for the static conversions.
class VelParameter : public Steinberg::Vst::Parameter {
public:
    // `unit` counts the units of the table's owners from 0. Asserts "p != NULL" for a null row.
    VelParameter(const ::ParameterInfo* p, i32 unit);

    // At most 33 characters, "%.2f" of the plain value.
    void toString(Steinberg::Vst::ParamValue value, Steinberg::Vst::String128 text) const override;
    // False, and `value` untouched, if the text is no number.
    bool fromString(const Steinberg::Vst::TChar* text,
                    Steinberg::Vst::ParamValue& value) const override;
    Steinberg::Vst::ParamValue toPlain(Steinberg::Vst::ParamValue value) const override;
    Steinberg::Vst::ParamValue toNormalized(Steinberg::Vst::ParamValue plain) const override;
    // Bit 0 of the info's flags: the host can automate the row.
    virtual bool canAutomate() const;

    // False for rows of texts, bytes and references: those are never converted. Any thread.
    static bool isNumber(const ::ParameterInfo& row) {
        return !row.isComplex() && row.baseKind() != k_reference;
    }
    // Linear over the row's range, in single precision: min + (max - min) * value, and back; a row
    // without a range is at its minimum, and normalised at 0. Any thread, also audio.
    static f32 plainValue(const ::ParameterInfo& row, f64 normalized);
    static f64 normalizedValue(const ::ParameterInfo& row, f32 plain);

    OBJ_METHODS(VelParameter, Steinberg::Vst::Parameter)

private:
    const ::ParameterInfo row;
};
