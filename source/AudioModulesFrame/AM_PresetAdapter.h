// Translates the presets of other plug-ins.
#pragma once

#include "AM_Types.h"

#include <string>
#include <string_view>

class AM_ParaMan;

// What a load asks about a text whose "#AM=" line names another plug-in. Belongs to the manager
// that hands it out; one load at a time.
class AM_IPresetAdapter {
public:
    virtual ~AM_IPresetAdapter() = default;
    virtual void start() = 0;
    // Sets what that plug-in leaves out of its texts; false if it has nothing to set.
    virtual bool applyDefaults(AM_ParaMan& paraMan) = 0;
    virtual void versionFound(u32 version) = 0;
    // The short names in this plug-in for those of the other.
    virtual std::string moduleName(std::string_view name) = 0;
    virtual std::string parameterName(std::string_view module, std::string_view name) = 0;
};
