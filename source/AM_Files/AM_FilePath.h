// Paths of the virtual file system.
#pragma once

#include "AM_String.h"

#include <iterator>
#include <string>
#include <string_view>

// The value type: a text in canonical form, where every "/" is "\" and no separator stands at the
// end of a text of more than one character. "/" is the root, "" the empty path. Its segments are
// the names between separators, behind the root ("\") if it begins with a separator; doubled
// separators give no empty segment.
class AM_FilePath {
public:
    class const_iterator;

    AM_FilePath() = default;
    AM_FilePath(const char* text); // UTF-8
    AM_FilePath(const AM_String& text);
    AM_FilePath(const AM_FilePath& other);
    AM_FilePath& operator=(const AM_FilePath& other);
    AM_FilePath(AM_FilePath&&) noexcept = default;
    AM_FilePath& operator=(AM_FilePath&&) noexcept = default;

    const AM_String& text() const { return path; }
    bool isEmpty() const { return path.isEmpty(); }
    bool operator==(const AM_FilePath& other) const { return path == other.path; }

    // The text as UTF-8 with each separator as `separator`; good until the next call on this
    // object.
    const char* c_str(char separator = '\\') const;

    // Joins with "\" between, unless one side is empty or has a separator there already. The result
    // is not made canonical again.
    AM_FilePath& operator/=(const AM_FilePath& right);
    AM_FilePath operator/(const AM_FilePath& right) const;

    // All segments but the last; "/" for "/test".
    AM_FilePath parent_path() const;
    // True for a path that begins with a separator and has at least two characters.
    bool has_parent_path() const;
    // The last segment; "/" of "/", "" of "".
    AM_FilePath filename() const;
    // What stands behind the last "." of the whole text.
    AM_String extension() const;

    // Forward over the segments, as paths.
    const_iterator begin() const;
    const_iterator end() const;
    i32 getNumSegments() const;
    // Up to `count` segments behind the first `first`, joined.
    AM_FilePath getSubSegments(i32 first, i32 count) const;
    // Without the root, if it begins with one.
    AM_FilePath withoutRoot() const;
    // Whole segments only; every path has the prefixes "" and itself, and a relative one no other.
    bool hasPrefix(const AM_FilePath& prefix) const;

private:
    AM_String path;
    mutable std::string cache; // of c_str
};

// Walks the segments of a path, which must live and stay as it is meanwhile.
class AM_FilePath::const_iterator {
public:
    using iterator_category = std::input_iterator_tag; // as it gives values
    using iterator_concept = std::forward_iterator_tag;
    using value_type = AM_FilePath;
    using difference_type = std::ptrdiff_t;
    using pointer = void;
    using reference = AM_FilePath;

    const_iterator() = default;
    AM_FilePath operator*() const;
    // The segment without making a path of it; "\" for the root.
    std::u16string_view text() const {
        return length == 0 ? std::u16string_view() : whole.substr(position, length);
    }
    const_iterator& operator++();
    const_iterator operator++(int);
    bool operator==(const const_iterator& other) const { return position == other.position; }

private:
    friend class AM_FilePath;
    const_iterator(std::u16string_view text, size_t start);
    void findSegment();

    std::u16string_view whole;
    size_t position = 0; // at the end one behind the text's length
    size_t length = 0;   // of the segment
};

// The order of listings: without regard to the case of "A" to "Z", equal ones by their bytes.
bool AM_listedBefore(const AM_FilePath& a, const AM_FilePath& b);
