#include "AM_ChunkCodec.h"
#include "ground/LogCapture.h"

#include <gtest/gtest.h>
#include <random>

namespace {

using Bytes = std::vector<u8>;

std::string encode(const Bytes& data) {
    std::string text = "kept";
    const i32 length = encodeChunk(text, data.data(), static_cast<i32>(data.size()));
    EXPECT_EQ(text.size(), static_cast<size_t>(4 + length));
    return text.substr(4);
}

std::string withoutLines(std::string text) {
    std::erase(text, '\n');
    return text;
}

// The first `maxBytes` bytes of the chunk; checking alone has to come to the same end.
bool decode(std::string_view text, Bytes& data, i32 maxBytes) {
    data.assign(static_cast<size_t>(std::max(maxBytes, 0)), 0xEE);
    i32 size = -1, checkedSize = -1;
    const bool whole = decodeChunk(data.data(), text, maxBytes, &size);
    EXPECT_EQ(decodeChunk(nullptr, text, maxBytes, &checkedSize), whole);
    EXPECT_EQ(size, checkedSize);
    data.resize(static_cast<size_t>(size));
    return whole;
}

TEST(ChunkCodec, bodies) {
    EXPECT_EQ(encode(Bytes(8)), "?aaaaaaaa:aaaaaaaa:aaaaaaaa:aaaaaaaa:aaaaaaaa:aaaaaaaa:aaaaaaaa:\n"
                                "aaaaaaaa:aaaaaaaa:aaaaaaaa:aa:ab:ac:ad:ae:af:ag:ah:ai:aj:ak:al:a\n"
                                "m:an:ao:ap:ba:bb:bc:bd:be:bf:bg:bh:bi:bj!q1=15267");
    const std::pair<Bytes, std::string> cases[] = {
        {{1, 2, 3, 4, 1, 2, 3, 4}, "q1"},
        {{1, 2, 3, 4, 1}, "ACDEA"},                      // no words: not a multiple of 4
        {{5, 5, 5, 5, 1, 1, 1, 1, 5, 1, 1, 1}, "B2qAq"}, // a word between the words
        {{0, 0, 0, 0, 0, 1, 2, 3}, "rq"},
        {{200, 200, 200}, "A2"},
        {Bytes(1000000, 7), "A999999"},
        {Bytes(1000000, 0), "q249999"}};
    for (const auto& [data, body] : cases) {
        const std::string text = withoutLines(encode(data));
        EXPECT_EQ(text.substr(169, text.find('=') - 169), body);
    }
    std::string none;
    EXPECT_EQ(encodeChunk(none, "", 0) + encodeChunk(none, "", 1000001), 0);
    EXPECT_EQ(none, "");
}

TEST(ChunkCodec, textsStayWhatTheyWereAndComeBack) {
    std::mt19937 random(1);
    u64 hash = 0xcbf29ce484222325u; // FNV-1a over all texts
    for (int run = 0; run < 400; ++run) {
        Bytes data(1 + random() % 600);
        // Few values give equal counts, repeats, words of equal bytes and bytes below 0.
        const u32 values = 1 + random() % (run % 2 ? 4 : 256);
        for (size_t i = 0; i < data.size(); ++i)
            data[i] = static_cast<u8>(i >= 4 && random() % 3 ? data[i - 4] : random() % values);
        const std::string text = encode(data);
        for (size_t i = 0; i < text.size(); ++i)
            ASSERT_EQ(text[i] == '\n', i % 65 == 64);
        for (const char character : text)
            hash = (hash ^ static_cast<u8>(character)) * 0x100000001b3u;
        Bytes read;
        ASSERT_TRUE(decode(text, read, static_cast<i32>(data.size())));
        ASSERT_EQ(read, data);
    }
    EXPECT_EQ(hash, 0x65e60ab606a4d617u) << "presets hold such texts";
    Bytes distinct(1000000); // words that all differ
    for (size_t i = 0; i < distinct.size(); ++i)
        distinct[i] = static_cast<u8>((i / 4 * 2654435761u) >> (8 * (i % 4)));
    Bytes read;
    ASSERT_TRUE(decode(encode(distinct), read, 1000000));
    EXPECT_TRUE(read == distinct);
}

TEST(ChunkCodec, damageAndWhiteSpace) {
    const Bytes data = {1, 2, 3, 4, 1, 2, 3, 4, 9, 9, 9, 9, 0xFE, 0xFE, 17, 18};
    const std::string text = encode(data);
    std::string spread = "no chunk yet ";
    for (const char character : text)
        spread += {character, '\x01', ' '};
    Bytes read;
    EXPECT_TRUE(decode(spread + "\n#behind=1", read, 100));
    EXPECT_EQ(read, data);
    LogCapture log;
    for (size_t i = 0; i < text.size(); ++i) {
        EXPECT_FALSE(decode(text.substr(0, i), read, 100)) << i;
        EXPECT_FALSE(decode(text.substr(0, i) + '\0' + text.substr(i), read, 100)) << i;
        std::string changed = text;
        changed[i] ^= 1;
        EXPECT_EQ(decode(changed, read, 100), text[i] == '\n' && changed[i] <= ' ') << i;
        EXPECT_FALSE(log.take().empty()) << i;
    }
}

TEST(ChunkCodec, craftedTexts) {
    std::string longs = "?", bytes = "?";
    for (int i = 0; i < 11; ++i)
        longs += "abcdefgh:";
    for (int i = 0; i < 27; ++i)
        bytes += "ab:";
    const struct {
        std::string text;
        i32 maxBytes;
        Bytes data;
        std::string message;                                        // empty for a legal chunk
    } cases[] = {{"?abc:ab:a:bcdefghijklmn!A1B", 9, {1, 1, 0}, ""}, // other lengths are dropped
                 {"?ab!{A~", 2, {1}, ""},
                 {"?! ", 0, {}, ""},
                 {"?baaaaaaa:!q9999999999999999", 6, {16, 0, 0, 0, 16, 0}, ""},
                 {"?!ab1ac", 2, {1, 1}, "BUG! - bytesExpanded > maxBytes 2 : 2 at 6 of 7/n"},
                 {"?!ab", -1, {}, "BUG! - bytesExpanded > maxBytes 0 : -1 at 3 of 4/n"},
                 {"?!ab5b", 99, Bytes(6, 1), "EEEK! - We've read '?' at 6 of 6/n"},
                 {"?!5", 9, {}, "BUG! - Number identifier omitted by previous action/n"},
                 {"?!ab00000000000000012", 9, {1, 1}, "BUG! - Number identifier omitted"},
                 {"?ab:A", 9, {}, "reached EOF too early!"},
                 {longs + "!q", 9, {}, "more than 10 reference longs!"},
                 {bytes + "!A", 9, {}, "more than 26 reference bytes!"}};
    for (const auto& test : cases) {
        LogCapture log;
        u32 sum = 0;
        for (const char character : test.text)
            sum += character > ' ' ? static_cast<u8>(character) : 0;
        const std::string whole = test.text + '=' + std::to_string(sum);
        Bytes read;
        EXPECT_EQ(decode(whole, read, test.maxBytes), test.message.empty()) << test.text;
        EXPECT_EQ(read, test.data) << test.text;
        EXPECT_EQ(log.count(test.message), test.message.empty() ? 0 : 2) << test.text;
        EXPECT_FALSE(decode(whole + '0', read, test.maxBytes));
        EXPECT_EQ(log.count("Checksum mismatch: " + std::to_string(sum)), 2);
    }
}

} // namespace
