// The reverb plug-in: what makes the framework's audio manager this one product.
#pragma once

#include "AM_AudioManager.h"
#include "AM_PluginTable.h"

class AM_DelayNetWorks;

class Glassmere_AudioMan : public AM_AudioMan {
public:
    // With k_glassmereId the reverb; with any other id a manager without modules.
    explicit Glassmere_AudioMan(u32 id);
    ~Glassmere_AudioMan() override;

    // Adds the reverb module "FDN: FDN".
    void createModules() override;
    // Starts the manager, then builds the reverb that the module's code describes.
    void initialize() override;

    // The product's row of the plug-in table, or null.
    const AM_PluginTableRow* getTableRow() const { return tableRow; }
    // Live instances in the process.
    static i32 getLiveInstances();

protected:
    std::unique_ptr<AM_IPluginPreferences> createPreferences() override;

private:
    const AM_PluginTableRow* tableRow;
    AM_DelayNetWorks* network = nullptr; // a child of the main circuit
};
