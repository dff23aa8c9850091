// Where the files of fonts are.
#pragma once

#include <string>
#include <vector>

namespace AM_TextFonts {

// Sets the resource folders of the process, first those that count most. A font named NAME is
// "Fonts/NAME.ttf" in one of them. Paths of the system. Any thread;
// fonts whose file was found before keep it.
void setFolders(const std::vector<std::string>& folders);

// The file of a font, "" if there is none that can be read. Tried are `path`, if it is not empty;
// the font's name in the resource folders; usual files of the system; then "Vera.ttf" of the
// resource folders, which is logged as "using VERA!". What was found is remembered. Any thread.
std::string find(const std::string& path, const std::string& name);

} // namespace AM_TextFonts
