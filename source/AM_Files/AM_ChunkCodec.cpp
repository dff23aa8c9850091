#include "AM_ChunkCodec.h"

#include "AM_Log.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cstring>
#include <numeric>
#include <utility>
#include <vector>

namespace {

constexpr size_t k_numLongs = 10;
constexpr size_t k_numBytes = 26;
constexpr size_t k_lineLength = 64;
constexpr size_t k_maxDigits = 16; // of a repeat number

// Four bytes in the order of memory, compared and sorted as what the machine makes of them.
using Word = u32;
using WordBytes = std::array<u8, 4>;

bool allBytesEqual(Word word) {
    return word == std::rotl(word, 8);
}

// A number as decimal text.
class Decimal {
public:
    explicit Decimal(i64 number)
        : length(std::to_chars(digits, digits + sizeof digits, number).ptr - digits) {}
    std::string_view text() const { return {digits, static_cast<size_t>(length)}; }

private:
    char digits[20];
    std::ptrdiff_t length;
};

// The sum as it prints: a 32-bit integer with its sign.
Decimal printedSum(u32 sum) {
    return Decimal(static_cast<i32>(sum));
}

// --- writing -----------------------------------------------------------------------------

// What the letters of a chunk stand for.
struct References {
    std::array<Word, k_numLongs> longs{}; // an unused entry is 0, and so finds runs of zeros
    std::array<u32, k_numLongs> counts{};
    std::array<u8, k_numBytes> bytes{};
};

// The words at multiples of 4 that occur most often, the earlier one first of equally frequent
// ones. Words of four equal bytes are left to the byte tokens.
void findLongs(const u8* source, size_t size, References& references) {
    std::vector<u64> places; // word and index, so that equal words come together, first one first
    places.reserve(size / 4);
    for (size_t i = 0; i < size / 4; ++i) {
        Word word;
        std::memcpy(&word, source + 4 * i, 4);
        if (!allBytesEqual(word)) places.push_back(u64{word} << 32 | i);
    }
    std::sort(places.begin(), places.end());

    struct Candidate {
        Word word;
        u32 count;
        u32 first;
    };
    std::vector<Candidate> candidates;
    for (const u64 place : places) {
        const Word word = static_cast<Word>(place >> 32);
        if (candidates.empty() || candidates.back().word != word)
            candidates.push_back({word, 0, static_cast<u32>(place)});
        ++candidates.back().count;
    }
    const size_t used = std::min(k_numLongs, candidates.size());
    std::partial_sort(candidates.begin(), candidates.begin() + static_cast<std::ptrdiff_t>(used),
                      candidates.end(), [](const Candidate& a, const Candidate& b) {
                          return a.count != b.count ? a.count > b.count : a.first < b.first;
                      });
    for (size_t k = 0; k < used; ++k) {
        references.longs[k] = candidates[k].word;
        references.counts[k] = candidates[k].count;
    }
}

// The bytes that most often differ from the one in front of them, less what the reference longs
// will cover. That may count below 0 and wrap, which brings the byte to the front.
void findBytes(const u8* source, size_t size, References& references) {
    std::array<u32, 256> histogram{};
    for (size_t i = 0; i < size; ++i)
        if (i == 0 || source[i] != source[i - 1]) ++histogram[source[i]];
    for (size_t k = 0; k < k_numLongs; ++k) {
        const auto bytes = std::bit_cast<WordBytes>(references.longs[k]);
        for (size_t i = 0; i < bytes.size(); ++i)
            if (i == 0 || bytes[i] != bytes[i - 1]) histogram[bytes[i]] -= references.counts[k];
    }
    std::array<u8, 256> order;
    std::iota(order.begin(), order.end(), u8{0});
    std::stable_sort(order.begin(), order.end(),
                     [&](u8 a, u8 b) { return histogram[a] > histogram[b]; });
    std::copy_n(order.begin(), k_numBytes, references.bytes.begin());
}

// Characters in lines of 64, and their sum.
class ChunkText {
public:
    explicit ChunkText(std::string& text) : dest(text) {}

    void put(char character) {
        dest += character;
        sum += static_cast<u8>(character);
        if (++column == k_lineLength) {
            dest += '\n';
            column = 0;
        }
    }
    void putByte(u8 byte) {
        put(static_cast<char>('a' + (byte >> 4)));
        put(static_cast<char>('a' + (byte & 15)));
    }
    void putNumber(const Decimal& number) {
        for (const char digit : number.text())
            put(digit);
    }
    // How often the token in front is repeated.
    void putRepeats(size_t repeats) {
        if (repeats != 0) putNumber(Decimal(static_cast<i64>(repeats)));
    }
    void putSum() {
        const Decimal printed = printedSum(sum);
        put('=');
        putNumber(printed);
    }

private:
    std::string& dest;
    size_t column = 0;
    u32 sum = 0;
};

void putHeader(ChunkText& text, const References& references) {
    text.put('?');
    for (const Word word : references.longs) {
        for (const u8 byte : std::bit_cast<WordBytes>(word))
            text.putByte(byte);
        text.put(':');
    }
    for (size_t k = 0; k < k_numBytes; ++k) {
        if (k != 0) text.put(':');
        text.putByte(references.bytes[k]);
    }
    text.put('!');
}

// How often the word at the head of the `size` bytes follows it at once.
size_t countRepeats(const u8* source, size_t size) {
    size_t repeats = 0;
    while (4 * (repeats + 2) <= size && std::memcmp(source, source + 4 * (repeats + 1), 4) == 0)
        ++repeats;
    return repeats;
}

void putBody(ChunkText& text, const References& references, const u8* source, size_t size) {
    std::array<char, 256> letters{};
    for (size_t k = 0; k < k_numBytes; ++k)
        letters[references.bytes[k]] = static_cast<char>('A' + k);

    constexpr i32 noByte = 256;
    i32 last = noByte;
    size_t run = 0;
    const auto flush = [&] { text.putRepeats(std::exchange(run, 0)); };
    for (size_t i = 0; i < size;) {
        Word word = 0;
        auto found = references.longs.end();
        if (size % 4 == 0 && size - i >= 4) {
            std::memcpy(&word, source + i, 4);
            found = std::find(references.longs.begin(), references.longs.end(), word);
        }
        if (found != references.longs.end()) {
            flush();
            text.put(static_cast<char>('q' + (found - references.longs.begin())));
            last = noByte;
            const size_t repeats = countRepeats(source + i, size - i);
            text.putRepeats(repeats);
            i += 4 + 4 * repeats;
            continue;
        }
        const u8 byte = source[i++];
        if (byte == last) {
            ++run;
            continue;
        }
        last = byte;
        flush();
        if (letters[byte] != 0)
            text.put(letters[byte]);
        else
            text.putByte(byte);
    }
    flush();
}

} // namespace

i32 encodeChunk(std::string& dest, const void* source, i32 size) {
    if (source == nullptr || size < 1 || size > k_maxChunkSize) return 0;
    const auto* bytes = static_cast<const u8*>(source);
    const auto length = static_cast<size_t>(size);
    References references;
    findLongs(bytes, length, references);
    findBytes(bytes, length, references);

    const size_t start = dest.size();
    ChunkText text(dest);
    putHeader(text, references);
    putBody(text, references, bytes, length);
    text.putSum();
    return static_cast<i32>(dest.size() - start);
}

// --- reading -----------------------------------------------------------------------------

namespace {

bool isWhite(char character) {
    return static_cast<u8>(character) <= 0x20;
}

bool isDigit(char character) {
    return character >= '0' && character <= '9';
}

// What a letter of a byte stands for. Letters behind 'p' are taken as they come.
u8 hexDigit(char letter) {
    return static_cast<u8>((static_cast<u8>(letter) - 1) & 15);
}

class ChunkReader {
public:
    ChunkReader(std::string_view chunkText, u8* target, i32 capacity)
        : text(chunkText), dest(target), maxBytes(capacity) {}

    bool read() { return findBounds() && checkSum() && readHeader() && readBody(); }
    // Bytes expanded.
    i32 size() const { return static_cast<i32>(expanded); }

private:
    bool findBounds();
    bool checkSum() const;
    bool readHeader();
    bool endReference(const std::array<u8, 8>& digits, size_t numDigits);
    bool readBody();
    bool readToken(char character);
    u64 readCount();
    void expand(const u8* bytes, size_t width);
    void skipWhite() {
        while (position < end && isWhite(text[position]))
            ++position;
    }

    std::string_view text;
    u8* dest;
    i64 maxBytes;
    i64 expanded = 0;
    size_t position = 0; // of the next character to be read
    size_t end = 0;      // of the '='
    u32 sum = 0;
    std::array<WordBytes, k_numLongs> longs{};
    std::array<u8, k_numBytes> bytes{};
    size_t numLongs = 0;
    size_t numBytes = 0;
};

// Looks for '?' and '=' in one pass that also finds the end of the text, since a text may be long
// and hold many beginnings of chunks.
bool ChunkReader::findBounds() {
    const auto ended = [this](size_t place) { return place >= text.size() || text[place] == 0; };
    while (!ended(position) && text[position] != '?')
        ++position;
    for (end = position; !ended(end) && text[end] != '='; ++end)
        if (!isWhite(text[end])) sum += static_cast<u8>(text[end]);
    if (ended(end)) {
        AM_Log("reached EOF too early!\n");
        return false;
    }
    ++position;
    return true;
}

// The digits behind the '=', with white space anywhere among them, have to be those of the sum.
bool ChunkReader::checkSum() const {
    const Decimal printed = printedSum(sum);
    size_t place = end + 1;
    const auto next = [&]() -> char {
        while (place < text.size() && text[place] != 0 && isWhite(text[place]))
            ++place;
        return place < text.size() ? text[place++] : char{0};
    };
    const std::string_view digits = printed.text();
    if (std::all_of(digits.begin(), digits.end(), [&](char digit) { return next() == digit; }) &&
        !isDigit(next()))
        return true;
    AM_Log("Checksum mismatch: %d\n", static_cast<i32>(sum));
    return false;
}

bool ChunkReader::readHeader() {
    std::array<u8, 8> digits{};
    size_t numDigits = 0; // more than 8 are no reference
    while (position < end) {
        const char character = text[position++];
        if (isWhite(character)) continue;
        if (static_cast<u8>(character) >= 'a') {
            if (numDigits < digits.size()) digits[numDigits] = hexDigit(character);
            numDigits = std::min(numDigits + 1, digits.size() + 1);
            continue;
        }
        if (!endReference(digits, numDigits)) return false;
        if (character == '!') return true;
        numDigits = 0;
    }
    AM_Log("reached EOF too early!\n");
    return false;
}

bool ChunkReader::endReference(const std::array<u8, 8>& digits, size_t numDigits) {
    const auto byte = [&](size_t i) {
        return static_cast<u8>(digits[2 * i] << 4 | digits[2 * i + 1]);
    };
    if (numDigits == 8) {
        if (numLongs == k_numLongs) {
            AM_Log("more than 10 reference longs!\n");
            return false;
        }
        longs[numLongs++] = {byte(0), byte(1), byte(2), byte(3)};
    } else if (numDigits == 2) {
        if (numBytes == k_numBytes) {
            AM_Log("more than 26 reference bytes!\n");
            return false;
        }
        bytes[numBytes++] = byte(0);
    }
    return true;
}

bool ChunkReader::readBody() {
    for (skipWhite(); position < end; skipWhite())
        if (!readToken(text[position++])) return false;
    return true;
}

// Reads what is left of the token that begins with `character`.
bool ChunkReader::readToken(char character) {
    const auto letter = static_cast<u8>(character);
    if (expanded >= maxBytes) {
        AM_Log("BUG! - bytesExpanded > maxBytes %d : %d at %d of %d/n", expanded, maxBytes,
               position, end);
        return false;
    }
    if (letter < 'A') {
        AM_Log("BUG! - Number identifier omitted by previous action/n");
        return false;
    }
    if (letter <= 'Z') {
        expand(&bytes[letter - 'A'], 1);
    } else if (letter >= 'a' && letter <= 'p') {
        skipWhite();
        if (position == end) { // the '=' stands where the second letter should
            AM_Log("EEEK! - We've read '?' at %d of %d/n", position, end);
            return false;
        }
        const u8 byte = static_cast<u8>(hexDigit(character) << 4 | hexDigit(text[position++]));
        expand(&byte, 1);
    } else if (letter >= 'q' && letter <= 'z') {
        expand(longs[letter - 'q'].data(), longs[0].size());
    }
    return true;
}

// How often a token's bytes are written: 1, and what the number behind it says.
u64 ChunkReader::readCount() {
    u64 number = 0;
    for (size_t digits = 0; digits < k_maxDigits; ++digits) {
        skipWhite();
        if (position == end || !isDigit(text[position])) break;
        number = number * 10 + static_cast<u64>(text[position++] - '0');
    }
    return number + 1;
}

void ChunkReader::expand(const u8* source, size_t width) {
    const u64 wanted = readCount() * width; // at most 4 * 10^16
    const auto count = std::min(wanted, static_cast<u64>(maxBytes - expanded));
    if (dest != nullptr)
        for (u64 i = 0; i < count; ++i)
            dest[static_cast<u64>(expanded) + i] = source[i % width];
    expanded += static_cast<i64>(count);
}

} // namespace

bool decodeChunk(void* dest, std::string_view text, i32 maxBytes, i32* outSize) {
    ChunkReader reader(text, static_cast<u8*>(dest), maxBytes);
    const bool whole = reader.read();
    if (outSize != nullptr) *outSize = reader.size();
    return whole;
}
