#include "platform/PropertyList.h"

#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <numeric>

namespace peekmend {
namespace {

using namespace std::string_literals;

using Texts = std::vector<std::string>;

/// What stands at `key` as an array of strings. None when the list is damaged or holds no such.
std::optional<Texts> textsAt(const std::string& bytes, std::string_view key = "k") {
    const auto list = PropertyList::parse(bytes);
    const auto value = list ? list->root().at(key) : std::nullopt;
    return value ? value->strings() : std::nullopt;
}

bool isReadable(const std::string& bytes) {
    return PropertyList::parse(bytes).has_value();
}

std::string repeated(std::string_view text, std::size_t count) {
    std::string all;
    while (count-- > 0) {
        all += text;
    }
    return all;
}

// ---- XML ---------------------------------------------------------------------------------------

const std::string prolog =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<!DOCTYPE plist PUBLIC \"-//Example//DTD PLIST 1.0//EN\" \"http://example.org/p.dtd\">\n";

std::string xmlDictionary(const std::string& content) {
    return prolog + "<plist version=\"1.0\">\n<dict>\n" + content + "</dict>\n</plist>\n";
}

std::string xmlTexts(const std::string& content) {
    return xmlDictionary("<key>k</key><array>" + content + "</array>");
}

/// ASCII text as UTF-16.
std::string utf16(std::string_view text, std::endian order) {
    std::string bytes;
    for (const char character : text) {
        bytes += order == std::endian::big ? "\0"s + character : character + "\0"s;
    }
    return bytes;
}

TEST(XmlPropertyList, ReadsTextHoweverItIsWritten) {
    const struct {
        std::string xml;
        std::string text;
    } cases[] = {
        {"<string>public.text</string>", "public.text"},
        {"<string/>", ""},
        {"<string></string>", ""},
        {"<string>  </string>", "  "},
        {"<string> a\r\nb\rc </string>", " a\nb\nc "},
        {"<string>&lt;&gt;&amp;&quot;&apos;</string>", "<>&\"'"},
        {"<string>&amp;lt;</string>", "&lt;"},
        {"<string>&#65;&#x42;&#13;&#xe9;&#x20AC;&#x1F600;</string>", "AB\r\u00E9\u20AC\U0001F600"},
        {"<string>\u00E9\u20AC\U0001F600</string>", "\u00E9\u20AC\U0001F600"},
        {"<string><![CDATA[<&amp;>]]></string>", "<&amp;>"},
        {"<string>a<!-- & -->b<![CDATA[c]]>d</string>", "abcd"},
        {"<string>a<!-- --> <!-- -->b</string>", "a b"},
        {"<string> <?x ?> <![CDATA[ ]]></string>", "   "}};

    for (const auto& [xml, text] : cases) {
        EXPECT_EQ(textsAt(xmlTexts(xml)), Texts{text}) << xml;
    }
}

TEST(XmlPropertyList, AcceptsEncodingsAndProloguesOfRealFiles) {
    const std::string list =
        "<plist><!-- c --><dict>\n<!-- c --><key>k</key>\n\t<array><string>a</string>"
        "</array></dict></plist>";
    const std::string documents[] = {
        list,
        "\xEF\xBB\xBF" + list,
        "\xEF\xBB\xBF" + prolog + list + "\n<!-- end -->\n",
        "<!DOCTYPE plist [<!ENTITY e \"x\"><!-- ]> --><!ELEMENT plist ANY>]>" + list,
        "\xFE\xFF" + utf16(list, std::endian::big),
        "\xFF\xFE" + utf16(list, std::endian::little),
        utf16(list, std::endian::big),
        utf16(list, std::endian::little)};
    for (const std::string& document : documents) {
        EXPECT_EQ(textsAt(document), Texts{"a"}) << document;
    }
    std::string face = "\xFE\xFF" + utf16(xmlTexts("<string>##</string>"), std::endian::big);
    face.replace(face.find("\0#\0#"s), 4, "\xD8\x3D\xDE\x00"s);
    EXPECT_EQ(textsAt(face), Texts{"\U0001F600"});
    face.replace(face.find("\xD8\x3D\xDE\x00"s), 4, "\xDE\x00\xD8\x3D"s);
    EXPECT_FALSE(isReadable(face));
}

TEST(XmlPropertyList, LooksUpNestedValuesOfEveryKind) {
    const auto list = PropertyList::parse(xmlDictionary(
        "<key>i</key><integer> -0x1F </integer><key>r</key><real>+1.5e3</real><key>n</key>"
        "<real>nan</real><key>t</key><date>2024-02-29T12:00:00Z</date><key>b</key>"
        "<data>\n\tAAEC\n</data><key>y</key><true/><key>n</key><false></false>"
        "<key>a&amp;b</key><dict><key>c</key><dict><key>d</key><string>x</string></dict></dict>"
        "<key>twice</key><string>1</string><key>mixed</key><array><dict/><string>s</string></array>"
        "<key>twice</key><string>2</string><key></key><string>empty</string>"));
    ASSERT_TRUE(list);
    const auto root = list->root();
    EXPECT_EQ(root.at("a&b")->at("c")->at("d")->string(), "x");
    EXPECT_EQ(root.at("twice")->string(), "2");
    EXPECT_EQ(root.at("")->string(), "empty");
    EXPECT_EQ(root.at("mixed")->elements()->at(1).string(), "s");
    EXPECT_FALSE(root.at("mixed")->strings());
    EXPECT_FALSE(root.at("twice")->strings());
    EXPECT_FALSE(root.at("twice")->at("x"));
    EXPECT_FALSE(root.at("i")->string());
    EXPECT_FALSE(root.at("x"));
    EXPECT_FALSE(root.elements());
}

TEST(XmlPropertyList, DamageAnywhereMakesItUnreadable) {
    // clang-format off
    const std::string values[] = {
        "<string>&bogus;</string>", "<string>&</string>", "<string>& ;</string>",
        "<string>&#0;</string>", "<string>&#xD800;</string>", "<string>&#x110000;</string>",
        "<string>&#x;</string>", "<string>&#99999999999;</string>", "<string>&#-1;</string>",
        "<string>&#65x;</string>", "<string>\xFF</string>", "<string>\xED\xA0\x80</string>",
        "<string>a\0b</string>"s, "<string><b/></string>", "<string a=\"&e;\">x</string>",
        "<unknown/>", "<key>x</key>", "text", "<!-- open", "<integer/>", "<integer>1a</integer>",
        "<integer>0x</integer>", "<real>one</real>", "<date>yesterday</date>", "<data>%</data>",
        "<true>yes</true>", "<true><dict/></true>", "<array>text</array>", "<dict>text</dict>",
        "<dict><string/></dict>", "<dict><key>k</key></dict>",
        "<dict><key>k</key><key>k</key><true/></dict>", "<dict><true/><key>k</key></dict>",
        "<dict><key>k</key><true/>text</dict>", "<array><key>k</key></array>",
        "<dict><key><dict/></key><true/></dict>", "<string>a</strin>",
        "<dict><key>k</key><array/><true/></dict>", "<plist><dict/></plist>",
    };
    // clang-format on
    for (const std::string& value : values) {
        const std::string list =
            "<key>first</key><string>s</string><key>k</key><array>" + value + "</array>";
        EXPECT_FALSE(isReadable(xmlDictionary(list))) << value;
    }
    // clang-format off
    const std::string documents[] = {
        "", " ", "<plist/>", "<plist></plist>", "<dict/>", "<plist><array/></plist>",
        "<plist><dict/><dict/></plist>", "<plist>text<dict/></plist>",
        "<plist><dict>text</dict></plist>", "text<plist><dict/></plist>",
        "<plist><dict/></plist>text", "<plist><dict/></plist><plist><dict/></plist>",
        "<plist a=\"&x;\"><dict/></plist>", "<PLIST><dict/></PLIST>", "<plist><dict/></plist>\0"s,
        "\xFE\xFF<plist><dict/></plist>", "{ k = v; }",
    };
    // clang-format on
    for (const std::string& document : documents) {
        EXPECT_FALSE(isReadable(document)) << document;
    }
    ASSERT_TRUE(isReadable("<plist><dict/></plist>"));
}

TEST(XmlPropertyList, NoPartOfAListIsReadable) {
    const std::string list = xmlDictionary(
        "<key>k</key><array><string>a&amp;<![CDATA[b]]></string><!-- c --></array><key>t</key>"
        "<true/>");
    ASSERT_TRUE(isReadable(list));
    const std::string wide = utf16(list, std::endian::little);
    ASSERT_TRUE(isReadable(wide));
    const std::size_t end = list.rfind('>');
    for (std::size_t size = 0; size <= end; ++size) {
        EXPECT_FALSE(isReadable(list.substr(0, size))) << size;
        EXPECT_FALSE(isReadable(wide.substr(0, 2 * size))) << size;
        EXPECT_FALSE(isReadable(wide.substr(0, 2 * size + 1))) << size;
    }
}

TEST(XmlPropertyList, NeverExpandsDeclaredEntities) {
    std::string bomb = "<!DOCTYPE plist [<!ENTITY e0 \"lol\">";
    for (int level = 1; level < 30; ++level) {
        bomb += "<!ENTITY e" + std::to_string(level) + " \"" +
                repeated("&e" + std::to_string(level - 1) + ";", 10) + "\">";
    }
    bomb += "]><plist><dict><key>k</key><array><string>";
    const std::string end = "</string></array></dict></plist>";
    EXPECT_FALSE(isReadable(bomb + "&e29;" + end));
    EXPECT_EQ(textsAt(bomb + "a" + end), Texts{"a"});
}

TEST(XmlPropertyList, NestsAsDeepAsTheFileIsLong) {
    constexpr std::size_t depth = 300'000;
    const std::string opened = repeated("<array>", depth);
    const std::string closed = repeated("</array>", depth);
    const std::string after = "<key>k</key><array><string>a</string></array>";
    EXPECT_EQ(textsAt(xmlDictionary("<key>deep</key>" + opened + closed + after)), Texts{"a"});
    EXPECT_FALSE(isReadable(xmlDictionary("<key>deep</key>" + opened + "x" + closed + after)));
    EXPECT_FALSE(isReadable(xmlDictionary("<key>deep</key>" + opened)));
}

// ---- binary ------------------------------------------------------------------------------------

std::string bigEndian(std::uint64_t number, std::size_t size) {
    std::string bytes(size, '\0');
    for (std::size_t index = size; index-- > 0; number >>= 8U) {
        bytes[index] = static_cast<char>(static_cast<std::uint8_t>(number));
    }
    return bytes;
}

/// Writes the binary form. Objects are named by the number that adding them gives; the first one
/// is the root. Fields may be set to lie.
struct BinaryList {
    std::size_t offsetSize = 2;
    std::size_t referenceSize = 1;
    std::uint64_t top = 0;
    std::vector<std::string> objects;
    std::optional<std::uint64_t> countInTrailer;
    std::optional<std::uint64_t> tableInTrailer;
    std::vector<std::uint64_t> moreOffsets;

    std::uint64_t add(std::string object) {
        objects.push_back(std::move(object));
        return objects.size() - 1;
    }

    [[nodiscard]] static std::string marker(unsigned kind, std::uint64_t count) {
        if (count < 15) {
            return bigEndian((kind << 4U) | count, 1);
        }
        return bigEndian((kind << 4U) | 0xFU, 1) + "\x12" + bigEndian(count, 4);
    }

    [[nodiscard]] static std::string ascii(std::string_view text) {
        return marker(0x5, text.size()).append(text);
    }

    [[nodiscard]] static std::string utf16(std::u16string_view text) {
        std::string object = marker(0x6, text.size());
        for (const char16_t unit : text) {
            object += bigEndian(unit, 2);
        }
        return object;
    }

    [[nodiscard]] std::string holder(unsigned kind, const std::vector<std::uint64_t>& references,
                                     std::uint64_t count) const {
        std::string object = marker(kind, count);
        for (const std::uint64_t reference : references) {
            object += bigEndian(reference, referenceSize);
        }
        return object;
    }

    [[nodiscard]] std::string array(const std::vector<std::uint64_t>& references) const {
        return holder(0xA, references, references.size());
    }

    /// All keys, then all values.
    [[nodiscard]] std::string dictionary(const std::vector<std::uint64_t>& references) const {
        return holder(0xD, references, references.size() / 2);
    }

    [[nodiscard]] std::string bytes() const {
        std::string all = "bplist00";
        std::string table;
        for (const std::string& object : objects) {
            table += bigEndian(all.size(), offsetSize);
            all += object;
        }
        for (const std::uint64_t offset : moreOffsets) {
            table += bigEndian(offset, offsetSize);
        }
        const std::size_t tableOffset = all.size();
        return all + table + std::string(6, '\0') + bigEndian(offsetSize, 1) +
               bigEndian(referenceSize, 1) +
               bigEndian(countInTrailer.value_or(objects.size() + moreOffsets.size()), 8) +
               bigEndian(top, 8) + bigEndian(tableInTrailer.value_or(tableOffset), 8);
    }
};

/// { "k": [ each of `texts` ] }
BinaryList binaryTexts(const std::vector<std::string>& texts, std::size_t referenceSize = 1) {
    BinaryList list;
    list.referenceSize = referenceSize;
    list.add(list.dictionary({1, 2}));
    list.add(BinaryList::ascii("k"));
    std::vector<std::uint64_t> references(texts.size());
    std::iota(references.begin(), references.end(), std::uint64_t{3});
    list.add(list.array(references));
    for (const std::string& text : texts) {
        list.add(text);
    }
    return list;
}

TEST(BinaryPropertyList, ReadsEveryWidthOfOffsetsAndReferences) {
    for (std::size_t size = 1; size <= 8; ++size) {
        auto list = binaryTexts({BinaryList::ascii("a"), BinaryList::ascii("b")}, size);
        list.offsetSize = 9 - size;
        EXPECT_EQ(textsAt(list.bytes()), (Texts{"a", "b"})) << size;
    }
}

TEST(BinaryPropertyList, ReadsTextAndCountsHoweverTheyAreWritten) {
    const std::string letters(300, 'x');

    const struct {
        std::string object;
        std::string text;
    } cases[] = {{"\x50", ""},
                 {BinaryList::ascii(letters), letters},
                 {"\x5F\x10\x02"s + "ab", "ab"},
                 {"\x5F\x11\x00\x02"s + "ab", "ab"},
                 {"\x5F\x13\0\0\0\0\0\0\0\x02"s + "ab", "ab"},
                 {BinaryList::ascii("a\0b"s), "a\0b"s},
                 {BinaryList::utf16(u""), ""},
                 {BinaryList::utf16(u"a\u00E9\u20AC\U0001F600"), "a\u00E9\u20AC\U0001F600"}};

    for (const auto& [object, text] : cases) {
        EXPECT_EQ(textsAt(binaryTexts({object}).bytes()), Texts{text}) << text;
    }
}

TEST(BinaryPropertyList, LooksUpNestedValuesOfEveryKind) {
    // The key objects 4 to 6: "k", "k" once more, and a key outside of ASCII.
    BinaryList list;
    list.add(list.dictionary({4, 5, 6, 7, 2, 1}));
    list.add(list.dictionary({4, 3}));
    list.add(list.array({7, 8, 9}));
    list.add(list.array({7, 7}));
    list.add(BinaryList::ascii("k"));
    list.add(BinaryList::utf16(u"k"));
    list.add(BinaryList::utf16(u"\u00E9\u00E9"));
    list.add(BinaryList::ascii("s"));
    for (const std::string& object :
         {"\x00"s, "\x08"s, "\x09"s, "\x0F"s, "\x10\x01"s, "\x13"s + bigEndian(1, 8),
          "\x14"s + std::string(16, '\x01'), "\x22"s + bigEndian(0, 4), "\x23"s + bigEndian(0, 8),
          "\x33"s + bigEndian(0, 8), "\x42\xFF\x00"s, "\x81\x01\x02"s, "\xC1\x07"s}) {
        list.add(object);
    }
    const auto read = PropertyList::parse(list.bytes());
    ASSERT_TRUE(read);
    const auto root = read->root();
    EXPECT_EQ(root.at("\u00E9\u00E9")->at("k")->strings(), (Texts{"s", "s"}));
    EXPECT_EQ(root.at("k")->elements()->size(), 3U);
    EXPECT_EQ(root.at("k")->elements()->at(0).string(), "s");
    EXPECT_FALSE(root.at("k")->strings());
    EXPECT_FALSE(root.at("k")->elements()->at(1).string());
    EXPECT_FALSE(root.at("k")->at("k"));
    EXPECT_FALSE(root.at("\u00E9"));
    EXPECT_FALSE(root.elements());
}

TEST(BinaryPropertyList, DamageAnywhereMakesItUnreadable) {
    ASSERT_TRUE(isReadable(binaryTexts({"\x09"}).bytes()));
    // clang-format off
    const std::string objects[] = {
        "\x01", "\x15"s + std::string(32, 'x'), "\x21\x00\x00"s, "\x24"s + std::string(16, 'x'),
        "\x32xxxx", "\x70", "\x90", "\xB0", "\xE0", "\xF0", "\x51\x80", "\x59short", "\x13short",
        "\x61\xD8\x00"s, "\x61\xDC\x00"s, "\x62\xDC\x00\xD8\x00"s, "\xA1\x04", "\xC1\x04",
        "\xD1\x01\x04", "\xD1\x02\x01", "\x5F", "\x5F\x51x", "\x5F\x14"s + std::string(16, '\0'),
        "\x5F\x12\xFF", "\xAF\x13\x20\0\0\0\0\0\0\0"s, "\x6F\x13\x80\0\0\0\0\0\0\0"s,
        "\xDF\x13\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF", "\x4F\x13\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xF8",
    };
    // clang-format on
    for (const std::string& object : objects) {
        EXPECT_FALSE(isReadable(binaryTexts({object}).bytes())) << testing::PrintToString(object);
    }
}

TEST(BinaryPropertyList, LyingTrailersMakeItUnreadable) {
    const auto good = binaryTexts({BinaryList::ascii("a")});
    constexpr auto huge = ~std::uint64_t{0};
    std::vector<BinaryList> lists;
    const auto lie = [&](auto change) { change(lists.emplace_back(good)); };
    lie([](BinaryList& list) { list.top = 2; }); // an array
    lie([](BinaryList& list) { list.top = 4; });
    lie([](BinaryList& list) { list.top = std::uint64_t{1} << 40U; });
    lie([&](BinaryList& list) { list.top = huge; });
    lie([&](BinaryList& list) { // a table of less than nothing
        list.offsetSize = 1;
        list.tableInTrailer = list.bytes().size() - 31;
        list.countInTrailer = huge;
    });
    lie([](BinaryList& list) { // the header, read as a string of UTF-16
        list.objects.back() += "slack";
        EXPECT_TRUE(isReadable(list.bytes()));
        list.moreOffsets = {0};
    });
    for (const std::uint64_t count : {std::uint64_t{0}, std::uint64_t{3}, std::uint64_t{5},
                                      (std::uint64_t{1} << 63U) + 4, huge}) {
        lie([&](BinaryList& list) { list.countInTrailer = count; });
    }
    for (const std::uint64_t offset : {std::uint64_t{0}, std::uint64_t{8}, std::uint64_t{19},
                                       std::uint64_t{1000}, huge, huge - 7}) {
        lie([&](BinaryList& list) { list.tableInTrailer = offset; });
    }
    for (const std::uint64_t offset : {0U, 7U, 19U, 0xFFFFU}) {
        lie([&](BinaryList& list) { list.moreOffsets = {offset}; });
    }
    for (std::size_t index = 0; index < lists.size(); ++index) {
        EXPECT_FALSE(isReadable(lists[index].bytes())) << index;
    }
    for (const char size : {'\0', '\x09', '\xFF'}) {
        for (const std::size_t field : {26U, 25U}) {
            std::string bytes = good.bytes();
            bytes[bytes.size() - field] = size;
            EXPECT_FALSE(isReadable(bytes)) << field << " " << int{size};
        }
    }
}

TEST(BinaryPropertyList, NoPartOfAListIsReadable) {
    const std::string list = binaryTexts({BinaryList::ascii("a"), BinaryList::utf16(u"b")}).bytes();
    ASSERT_TRUE(isReadable(list));
    for (std::size_t size = 0; size < list.size(); ++size) {
        EXPECT_FALSE(isReadable(list.substr(0, size))) << size;
    }
    EXPECT_FALSE(isReadable(list + '\0'));
}

TEST(BinaryPropertyList, ObjectsMayHoldThemselvesAndEachOther) {
    // Each array holds the next one twice; the last one holds the root.
    constexpr std::uint64_t count = 100;
    BinaryList list;
    list.add(list.dictionary({1, 2}));
    list.add(BinaryList::ascii("k"));
    for (std::uint64_t index = 2; index < count; ++index) {
        list.add(list.array({index + 1, index + 1}));
    }
    list.add(list.array({0, count}));
    const auto read = PropertyList::parse(list.bytes());
    ASSERT_TRUE(read);
    auto value = read->root().at("k");
    for (std::uint64_t index = 2; index < count; ++index) {
        value = value->elements()->at(1);
    }
    EXPECT_EQ(value->elements()->at(0).at("k")->elements()->size(), 2U);
    EXPECT_FALSE(read->root().at("k")->strings());
}

TEST(BinaryPropertyList, RefusesObjectsThatShareBytes) {
    auto list = binaryTexts({BinaryList::ascii(std::string(1000, 'x'))});
    list.moreOffsets.assign(2, 8); // the root once more, and again
    EXPECT_FALSE(isReadable(list.bytes()));
}

TEST(BinaryPropertyList, AnAnswerStaysSmallWhenTheListNamesOneTextManyTimes) {
    const auto list = [](std::size_t textSize, std::size_t count) {
        BinaryList made;
        made.offsetSize = 4;
        made.add(made.dictionary({1, 2}));
        made.add(BinaryList::ascii("k"));
        made.add(made.array(std::vector<std::uint64_t>(count, 3)));
        made.add(BinaryList::ascii(std::string(textSize, 'x')));
        return made.bytes();
    };
    EXPECT_EQ(textsAt(list(1'000'000, 20))->size(), 20U);
    EXPECT_FALSE(textsAt(list(1'000'000, 1'000'000)));
    const std::string manyElements = list(0, 7'000'000);
    ASSERT_TRUE(isReadable(manyElements));
    EXPECT_FALSE(textsAt(manyElements));
    EXPECT_FALSE(PropertyList::parse(manyElements)->root().at("k")->elements());
}

// ---- files -------------------------------------------------------------------------------------

class PropertyListFile : public testing::Test {
protected:
    void SetUp() override {
        std::string name = testing::TempDir() + "property-list-XXXXXX";
        ASSERT_NE(::mkdtemp(name.data()), nullptr);
        m_folder = name;
    }

    void TearDown() override { std::filesystem::remove_all(m_folder); }

    [[nodiscard]] std::string path(const std::string& name = "Info.plist") const {
        return m_folder / name;
    }

    std::string write(const std::string& bytes) const {
        std::ofstream(path(), std::ios::binary) << bytes;
        return path();
    }

private:
    std::filesystem::path m_folder;
};

TEST_F(PropertyListFile, IsReadInBothForms) {
    for (const std::string& bytes :
         {xmlTexts("<string>a</string>"), binaryTexts({BinaryList::ascii("a")}).bytes()}) {
        const auto list = PropertyList::read(write(bytes));
        ASSERT_TRUE(list);
        const PropertyList copy = *list;
        EXPECT_EQ(copy.root().at("k")->strings(), Texts{"a"});
    }
    EXPECT_FALSE(PropertyList::read(path() + "\0x"s));
}

TEST_F(PropertyListFile, NothingButARegularFileIsWaitedFor) {
    ASSERT_EQ(::mkfifo(path("fifo").c_str(), 0600), 0);
    ASSERT_EQ(::symlink("loop", path("loop").c_str()), 0);
    for (const std::string& other : {path("fifo"), path("."), path("missing"), path("loop"),
                                     "/dev/null"s, "/dev/zero"s, ""s}) {
        EXPECT_FALSE(PropertyList::read(other)) << other;
    }
}

TEST_F(PropertyListFile, MayNotExceedTheLimit) {
    std::string bytes = xmlTexts("<string>a</string>");
    bytes.resize(PropertyList::maximumFileSize, ' ');
    EXPECT_TRUE(PropertyList::read(write(bytes)));
    EXPECT_FALSE(PropertyList::read(write(bytes + ' ')));
    ASSERT_EQ(::truncate(path().c_str(), off_t{4} << 30), 0);
    EXPECT_FALSE(PropertyList::read(path()));
}

} // namespace
} // namespace peekmend
