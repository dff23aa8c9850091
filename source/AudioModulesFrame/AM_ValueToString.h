// Value display: turns a parameter's value into the text that a control or a host shows.
// There is no way back. Numbers have a "." in every locale.
#pragma once

#include "AM_Format.h"
#include "AM_Object.h"
#include "AM_Parameter.h"

#include <memory>

// Room that is enough for every text of the family.
inline constexpr i32 k_valueTextSize = 128;

// Where one text goes: cut at the capacity and always terminated.
struct AM_ValueText {
    char* text;
    i32 capacity; // characters, with the terminator

    template <class... A>
    void operator()(const char* format, const A&... arguments) const {
        if (capacity > 0)
            AM_STD::sprintv(text, static_cast<size_t>(capacity), format, arguments...);
    }
};

// The plain display and the base of the family; a tree node, so that a family is searched by name.
class AM_ValueToStringObject : public AM_Tree {
public:
    // At most 31 characters of `name` are kept; null leaves "noSetATValueToStringObject".
    explicit AM_ValueToStringObject(const char* name = nullptr);

    const char* getName() const override { return name; }
    // This object, one of its descendants or a sibling behind it; null if none has the name.
    AM_ValueToStringObject* find(const char* wanted) override;
    virtual void reserved10() {}
    // Writes the text for `*value` in the units of `record` to `out` of `capacity` characters, cut
    // and always terminated; a null record writes nothing. `context`, which may be null, is asked
    // for more digits and for the parameter behind a reference. Any thread.
    //
    // Whole numbers are cut ("%d"), floats have two digits ("%.2f"), a reference reads "none" or
    // "owner: parameter" (nothing if either is missing), other kinds "unknown value".
    virtual void valueToString(AM_IParameterProvider* context, const ParameterInfo* record,
                               const f32* value, char* out, i32 capacity) const;

protected:
    // What a class of the family shows of an integer and of a float; `detailed` asks for digits.
    virtual void showInteger(const AM_ValueText& print, f32 v, bool detailed) const;
    virtual void showFloat(const AM_ValueText& print, f32 v, bool detailed) const;

private:
    char name[32];
};

// Declares one class of the family; each shows integers and floats (kinds 0 to 2) in its own way
// and leaves all other kinds to the base.
#define AM_VALUE_TO_STRING_CLASS(Class, Name)                                                      \
    class Class : public AM_ValueToStringObject {                                                  \
    public:                                                                                        \
        Class() : AM_ValueToStringObject(Name) {}                                                  \
                                                                                                   \
    protected:                                                                                     \
        void showInteger(const AM_ValueText& print, f32 v, bool detailed) const override;          \
        void showFloat(const AM_ValueText& print, f32 v, bool detailed) const override;            \
    }

// "4:1"; "12 : 1", "2.5 : 1", "1.25 : 1".
AM_VALUE_TO_STRING_CLASS(AM_RatioValueToStringObject, "ratio");
// Hz: "440Hz", "1.00kHz"; more digits the smaller the value.
AM_VALUE_TO_STRING_CLASS(AM_HertzValueToStringObject, "hertz");
// ms: "250ms", "1.50s"; more digits the smaller the value.
AM_VALUE_TO_STRING_CLASS(AM_MsecValueToStringObject, "msec");
// "50%", "9.5%"; detailed "50.00%".
AM_VALUE_TO_STRING_CLASS(AM_PercentValueToStringObject, "percent");
// Dry and wet share: "75 : 25"; detailed "75.00 : 25.00".
AM_VALUE_TO_STRING_CLASS(AM_MixValueToStringObject, "mix");
// Left and right gain, min((100 - v) * 2, 100) and min(v * 2, 100): "50 : 100"; detailed one digit.
AM_VALUE_TO_STRING_CLASS(AM_BalanceValueToStringObject, "balance");
// "-6dB"; "-12.0dB", "-0.50dB".
AM_VALUE_TO_STRING_CLASS(AM_DBValueToStringObject, "dbval");
// Inches a second: "15.0ips"; integers read "15dB", as users know them.
AM_VALUE_TO_STRING_CLASS(AM_IpsValueToStringObject, "ips");
// No text at all.
AM_VALUE_TO_STRING_CLASS(AM_EmptyValueToStringObject, "empty");

#undef AM_VALUE_TO_STRING_CLASS

// One of two texts: `onText` for integers above 0, else `offText`. The texts are kept by pointer.
class AM_BtnValueToStringObject : public AM_ValueToStringObject {
public:
    AM_BtnValueToStringObject(const char* name, const char* offText, const char* onText)
        : AM_ValueToStringObject(name), off(offText), on(onText) {}

protected:
    void showInteger(const AM_ValueText& print, f32 v, bool detailed) const override;

private:
    const char* off;
    const char* on;
};

// A plain display named "plain" with one object of each class with a fixed name as its children.
std::unique_ptr<AM_ValueToStringObject> AM_makeValueToStrings();
