#include "AM_FilePath.h"

#include "AM_Text.h"

#include <algorithm>

namespace {

constexpr char16_t k_separator = u'\\';

AM_String canonical(const AM_String& source) {
    std::u16string text = source.wide();
    std::replace(text.begin(), text.end(), u'/', k_separator);
    while (text.size() > 1 && text.back() == k_separator)
        text.pop_back();
    return AM_String(std::u16string_view(text));
}

void append(std::u16string& left, std::u16string_view right) {
    const bool needsSeparator = !left.empty() && left.back() != k_separator && !right.empty() &&
                                right.front() != k_separator;
    if (needsSeparator) left += k_separator;
    left += right;
}

} // namespace

AM_FilePath::AM_FilePath(const char* text) : path(canonical(AM_String(text))) {
}

AM_FilePath::AM_FilePath(const AM_String& text) : path(canonical(text)) {
}

AM_FilePath::AM_FilePath(const AM_FilePath& other) : path(other.path) {
}

AM_FilePath& AM_FilePath::operator=(const AM_FilePath& other) {
    path = other.path;
    return *this;
}

const char* AM_FilePath::c_str(char separator) const {
    cache = path.utf8();
    std::replace(cache.begin(), cache.end(), '\\', separator);
    return cache.c_str();
}

AM_FilePath& AM_FilePath::operator/=(const AM_FilePath& right) {
    std::u16string joined = path.wide();
    append(joined, right.path.wide());
    path = AM_String(std::u16string_view(joined));
    return *this;
}

AM_FilePath AM_FilePath::operator/(const AM_FilePath& right) const {
    AM_FilePath joined(*this);
    joined /= right;
    return joined;
}

AM_FilePath AM_FilePath::parent_path() const {
    return getSubSegments(0, getNumSegments() - 1);
}

bool AM_FilePath::has_parent_path() const {
    return path.length() >= 2 && path.wide().front() == k_separator;
}

AM_FilePath AM_FilePath::filename() const {
    std::u16string_view last;
    for (const_iterator segment = begin(); segment != end(); ++segment)
        last = segment.text();
    return AM_FilePath(AM_String(last));
}

AM_String AM_FilePath::extension() const {
    const std::u16string_view text = path.wide();
    const size_t dot = text.rfind(u'.');
    return dot == std::u16string_view::npos ? AM_String() : AM_String(text.substr(dot + 1));
}

AM_FilePath::const_iterator AM_FilePath::begin() const {
    return const_iterator(path.wide(), 0);
}

AM_FilePath::const_iterator AM_FilePath::end() const {
    return const_iterator(path.wide(), path.wide().size() + 1);
}

i32 AM_FilePath::getNumSegments() const {
    return static_cast<i32>(std::distance(begin(), end()));
}

AM_FilePath AM_FilePath::getSubSegments(i32 first, i32 count) const {
    std::u16string joined;
    for (const_iterator segment = begin(); segment != end() && count > 0; ++segment) {
        if (first > 0) {
            --first;
            continue;
        }
        append(joined, segment.text());
        --count;
    }
    AM_FilePath result;
    result.path = AM_String(std::u16string_view(joined));
    return result;
}

AM_FilePath AM_FilePath::withoutRoot() const {
    const bool hasRoot = begin() != end() && begin().text() == u"\\";
    return hasRoot ? getSubSegments(1, getNumSegments()) : *this;
}

bool AM_FilePath::hasPrefix(const AM_FilePath& prefix) const {
    if (prefix.isEmpty()) return true;
    const_iterator segment = begin();
    for (const_iterator wanted = prefix.begin(); wanted != prefix.end(); ++wanted, ++segment)
        if (segment == end() || segment.text() != wanted.text()) return false;
    return segment == end() || has_parent_path();
}

AM_FilePath::const_iterator::const_iterator(std::u16string_view text, size_t start)
    : whole(text), position(start) {
    if (start == 0 && !text.empty() && text.front() == k_separator)
        length = 1; // the root
    else
        findSegment();
}

AM_FilePath AM_FilePath::const_iterator::operator*() const {
    return AM_FilePath(AM_String(text()));
}

AM_FilePath::const_iterator& AM_FilePath::const_iterator::operator++() {
    position += length;
    findSegment();
    return *this;
}

AM_FilePath::const_iterator AM_FilePath::const_iterator::operator++(int) {
    const_iterator before(*this);
    ++*this;
    return before;
}

// Moves on to the next name, or to the end.
void AM_FilePath::const_iterator::findSegment() {
    length = 0;
    while (position < whole.size() && whole[position] == k_separator)
        ++position;
    if (position >= whole.size()) {
        position = whole.size() + 1;
        return;
    }
    length = std::min(whole.find(k_separator, position), whole.size()) - position;
}

bool AM_listedBefore(const AM_FilePath& a, const AM_FilePath& b) {
    const std::string& left = a.text().utf8();
    const std::string& right = b.text().utf8();
    const int order = AM_STD::toLower(left).compare(AM_STD::toLower(right));
    return order != 0 ? order < 0 : left < right;
}
