// Paths of the virtual file system.
#pragma once

#include "AM_String.h"

#include <iterator>

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

    const AM_String& text() const { return path; }
    bool isEmpty() const { return path.isEmpty(); }
    bool operator==(const AM_FilePath& other) const { return path == other.path; }

    // The text as UTF-8 with each separator as `separator`; good until the next call on this object.
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
    // Whole segments only; every path has the prefix "" and itself.
    bool hasPrefix(const AM_FilePath& prefix) const;

private:
    AM_String path;
    mutable std::string cache; // of c_str
};
