#include "platform/PropertyList.h"
#include "support/Support.h"

#include <sys/stat.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <numeric>
#include <tuple>

namespace peekmend {
namespace {

using namespace std::string_literals;

using Texts = std::vector<std::string>;
using Numbers = std::vector<std::uint64_t>;

constexpr std::uint64_t huge = ~std::uint64_t{0};

bool isReadable(const std::string& bytes) {
    return PropertyList::parse(bytes).has_value();
}

/// The strings in the array at the key "k". None when the list is damaged or there is no such.
std::optional<Texts> textsIn(const std::string& bytes) {
    const auto list = PropertyList::parse(bytes);
    const auto value = list ? list->root().at("k") : std::nullopt;
    return value ? value->strings() : std::nullopt;
}

/// The numbers, each in `size` bytes.
std::string bigEndian(const Numbers& numbers, std::size_t size) {
    std::string bytes;
    for (const std::uint64_t number : numbers) {
        for (std::size_t index = size; index-- > 0;) {
            bytes += static_cast<char>(static_cast<std::uint8_t>(number >> (8 * index)));
        }
    }
    return bytes;
}

/// The units of any text as UTF-16; those of a narrow one are ASCII.
std::string utf16(const auto& text, std::endian order = std::endian::big) {
    std::string bytes;
    for (const auto unit : text) {
        const std::string pair = bigEndian({static_cast<std::uint64_t>(unit)}, 2);
        bytes += order == std::endian::big ? pair : std::string(pair.rbegin(), pair.rend());
    }
    return bytes;
}

const std::string prolog =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<!DOCTYPE plist PUBLIC \"-//Example//DTD PLIST 1.0//EN\" \"http://example.org/p.dtd\">\n";

std::string xml(const std::string& content) {
    return prolog + "<plist version=\"1.0\">\n<dict>\n" + content + "</dict>\n</plist>";
}

/// { "k": [ `content` ] }
std::string xmlArray(const std::string& content) {
    return xml("<key>k</key><array>" + content + "</array>");
}

/// An object of the binary form that begins with its kind and a count.
std::string object(unsigned kind, std::size_t count, std::string_view payload) {
    const std::string counted =
        count < 15 ? bigEndian({(kind << 4U) | count}, 1)
                   : bigEndian({(kind << 4U) | 0xFU, 0x12}, 1) + bigEndian({count}, 4);
    return counted + std::string(payload);
}

std::string ascii(std::string_view text) {
    return object(0x5, text.size(), text);
}

std::string wide(std::u16string_view text) {
    return object(0x6, text.size(), utf16(text));
}

std::string array(const Numbers& references, std::size_t referenceSize = 1) {
    return object(0xA, references.size(), bigEndian(references, referenceSize));
}

/// All keys, then all values.
std::string dictionary(const Numbers& references, std::size_t referenceSize = 1) {
    return object(0xD, references.size() / 2, bigEndian(references, referenceSize));
}

/// The binary form of these objects, which name each other by position. The first is the root.
/// The larger the references, the smaller the offsets.
std::string binary(const Texts& objects, std::size_t referenceSize = 1) {
    std::string bytes = "bplist00";
    Numbers offsets;
    for (const std::string& next : objects) {
        offsets.push_back(bytes.size());
        bytes += next;
    }
    return bytes + bigEndian(offsets, 9 - referenceSize) + std::string(6, '\0') +
           bigEndian({9 - referenceSize, referenceSize}, 1) +
           bigEndian({objects.size(), 0, bytes.size()}, 8);
}

/// { "k": [ each of `objects` ] }
std::string binaryArray(const Texts& objects, std::size_t referenceSize = 1) {
    Numbers references(objects.size());
    std::iota(references.begin(), references.end(), std::uint64_t{3});
    Texts all{dictionary({1, 2}, referenceSize), ascii("k"), array(references, referenceSize)};
    all.insert(all.end(), objects.begin(), objects.end());
    return binary(all, referenceSize);
}

TEST(PropertyList, ReadsTextHoweverItIsWritten) {
    const std::pair<std::string, std::string> cases[] = {
        {xmlArray("<string/>"), ""},
        {xmlArray("<string>  </string>"), "  "},
        {xmlArray("<string> a\r\nb\rc </string>"), " a\nb\nc "},
        {xmlArray("<string>&lt;&gt;&amp;&quot;&apos;&amp;lt;</string>"), "<>&\"'&lt;"},
        {xmlArray("<string>&#65;&#x42;&#13;&#xe9;&#x20AC;&#x1F600;</string>"), "AB\ré€😀"},
        {xmlArray("<string>é€😀<![CDATA[<&amp;>]]></string>"), "é€😀<&amp;>"},
        {xmlArray("<string>a<!-- & -->b<![CDATA[c]]>d<!-- --> <!-- -->e</string>"), "abcd e"},
        {xmlArray("<string> <?x ?> <![CDATA[ ]]></string>"), "   "},
        {binaryArray({"\x50"}), ""},
        {binaryArray({ascii(prolog)}), prolog},
        {binaryArray({"\x5F\x10\x02"s + "ab"}), "ab"},
        {binaryArray({"\x5F\x11\x00\x02"s + "ab"}), "ab"},
        {binaryArray({"\x5F\x13\0\0\0\0\0\0\0\x02"s + "ab"}), "ab"},
        {binaryArray({ascii("a\0b"s)}), "a\0b"s},
        {binaryArray({wide(u"aé€\U0001F600")}), "aé€😀"}};
    for (const auto& [document, text] : cases) {
        EXPECT_EQ(textsIn(document), Texts{text}) << document;
    }
    for (std::size_t size = 1; size <= 8; ++size) {
        EXPECT_EQ(textsIn(binaryArray({ascii("a")}, size)), Texts{"a"}) << size;
    }
}

TEST(PropertyList, AcceptsEncodingsAndProloguesOfRealFiles) {
    const std::string list =
        "<plist><!-- c --><dict>\n<key>k</key>\t<array><string>a</string></array></dict></plist>";
    for (const std::string& document :
         {list, "\xEF\xBB\xBF" + list, "\xEF\xBB\xBF" + prolog + list + "\n<!-- end -->\n",
          "<!DOCTYPE plist [<!ENTITY e \"x\"><!-- ]> --><!ELEMENT plist ANY>]>" + list,
          "\xFE\xFF" + utf16(list, std::endian::big), "\xFF\xFE" + utf16(list, std::endian::little),
          utf16(list, std::endian::big), utf16(list, std::endian::little)}) {
        EXPECT_EQ(textsIn(document), Texts{"a"}) << testing::PrintToString(document);
    }
}

TEST(PropertyList, LooksUpNestedValuesOfEveryKind) {
    // The key "k" stands twice, and counts the second time.
    const std::string documents[] = {
        xml("<key>k</key><integer>1</integer><key>a&amp;é</key><dict><key>k</key><array><string>s"
            "</string><string>s</string></array></dict><key>k</key><array><string>s</string>"
            "<integer> -0x1F </integer><real>+1.5e3</real><real>nan</real><data>\n\tAAEC\n</data>"
            "<date>2024-02-29T12:00:00Z</date><true/><false></false><dict/></array>"),
        // clang-format off
        binary({dictionary({4, 5, 6, 8, 1, 2}), dictionary({4, 3}),
                array({7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20}), array({7, 7}),
                ascii("k"), wide(u"a&é"), wide(u"k"), ascii("s"), "\x00"s, "\x08", "\x09", "\x0F",
                "\x10\x01", "\x13" + bigEndian({1}, 8), "\x14" + std::string(16, '\x01'),
                "\x22" + bigEndian({0}, 4), "\x23" + bigEndian({0}, 8), "\x33" + bigEndian({0}, 8),
                "\x42\xFF\x00"s, "\x81\x01\x02", "\xC1\x07"})};
    // clang-format on
    for (const std::string& document : documents) {
        const auto list = PropertyList::parse(document);
        ASSERT_TRUE(list) << document;
        const auto root = list->root();
        EXPECT_EQ(root.at("a&é")->at("k")->strings(), (Texts{"s", "s"}));
        const auto values = root.at("k")->elements();
        ASSERT_TRUE(values && values->size() > 8);
        EXPECT_FALSE(values->at(0).strings() || values->at(0).at("k") || values->at(1).string());
        EXPECT_FALSE(root.at("k")->strings() || root.at("k")->at("k") || root.at("k")->string());
        EXPECT_FALSE(root.at("a") || root.at("") || root.elements() || root.string());
    }
}

TEST(PropertyList, DamageAnywhereMakesItUnreadable) {
    // clang-format off
    const std::string elements[] = {
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
    Texts documents{
        "", " ", "<plist/>", "<plist></plist>", "<dict/>", "<plist><array/></plist>",
        "<plist><dict/><dict/></plist>", "<plist>text<dict/></plist>",
        "<plist><dict>text</dict></plist>", "text<plist><dict/></plist>",
        "<plist><dict/></plist>text", "<plist><dict/></plist><plist><dict/></plist>",
        "<plist a=\"&x;\"><dict/></plist>", "<PLIST><dict/></PLIST>", "<plist><dict/></plist>\0"s,
        "\xFE\xFF<plist><dict/></plist>", "{ k = v; }",
        // No entity that a document declares is ever expanded.
        "<!DOCTYPE plist [<!ENTITY e \"x\">]><plist><dict><key>&e;</key><true/></dict></plist>",
        "\xFE\xFF" + utf16(u"<plist><dict><key>\xDE00\xD83D</key><true/></dict></plist>"s),
    };
    const std::string objects[] = {
        "\x01", "\x15" + std::string(32, 'x'), "\x21\x00\x00"s, "\x24" + std::string(16, 'x'),
        "\x32xxxx", "\x70", "\x90", "\xB0", "\xE0", "\xF0", "\x51\x80", "\x59short", "\x13short",
        "\x61\xD8\x00"s, "\x61\xDC\x00"s, "\x62\xDC\x00\xD8\x00"s, "\xA1\x04", "\xC1\x04",
        "\xD1\x01\x04", "\xD1\x02\x01", "\x5F", "\x5F\x51x", "\x5F\x14" + std::string(16, '\0'),
        "\x5F\x12\xFF", "\xAF\x13\x20\0\0\0\0\0\0\0"s, "\x6F\x13\x80\0\0\0\0\0\0\0"s,
        "\xDF\x13\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF", "\x4F\x13\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xF8",
    };
    // clang-format on
    for (const std::string& each : elements) {
        documents.push_back(xmlArray("<string>a</string><array>" + each + "</array>"));
    }
    for (const std::string& each : objects) {
        documents.push_back(binaryArray({each}));
    }
    for (const std::string& document : documents) {
        EXPECT_FALSE(isReadable(document)) << testing::PrintToString(document);
    }
}

TEST(PropertyList, NoPartOfAListIsReadable) {
    const std::string list = xmlArray("<string>a&amp;<![CDATA[b]]></string><!-- c --><true/>");
    const std::string parts = binaryArray({ascii("a"), wide(u"b")});
    for (const std::string& whole : {list, utf16(list, std::endian::little), parts}) {
        EXPECT_TRUE(isReadable(whole));
        for (std::size_t size = 0; size < whole.size(); ++size) {
            EXPECT_FALSE(isReadable(whole.substr(0, size))) << size << " of " << whole;
        }
    }
    EXPECT_FALSE(isReadable(parts + '\0'));
}

TEST(XmlPropertyList, NestsAsDeepAsTheFileIsLong) {
    std::string opened = "<key>deep</key>";
    std::string closed;
    for (int depth = 0; depth < 60'000; ++depth) {
        opened += "<array>";
        closed += "</array>";
    }
    EXPECT_EQ(textsIn(xml(opened + closed + "<key>k</key><array/>")), Texts{});
    EXPECT_FALSE(isReadable(xml(opened + "x" + closed)));
}

TEST(BinaryPropertyList, LyingNumbersMakeItUnreadable) {
    const std::string text = ascii(std::string(100, 'x'));
    const std::string good = binaryArray({text, ascii("a")});
    const std::uint64_t table = good.size() - 32 - 5 * 8;

    const auto lie = [](std::string list, std::size_t fromEnd, std::size_t size, std::uint64_t to) {
        return list.replace(list.size() - fromEnd, size, bigEndian({to}, size));
    };

    const std::tuple<const char*, std::size_t, std::size_t, Numbers> cases[] = {
        {"size of offsets", 26, 1, {0, 4, 9, 255}},
        {"size of references", 25, 1, {0, 2, 9, 255}},
        {"count of objects", 24, 8, {0, 4, 6, (std::uint64_t{1} << 63U) + 5, huge}},
        {"root: an array, or none", 16, 8, {2, 5, std::uint64_t{1} << 40U, huge}},
        {"offset of the table", 8, 8, {0, 8, table - 1, table + 1, 1000, huge, huge - 7}},
        // Four of the header's bytes would make a text in UTF-16.
        {"offset of the first text", 48, 8, {0, 7, table, huge}},
        {"offset of the other text: where objects share bytes", 40, 8, {table - 2 - text.size()}}};
    EXPECT_TRUE(isReadable(good));
    for (const auto& [what, fromEnd, size, numbers] : cases) {
        for (const std::uint64_t number : numbers) {
            EXPECT_FALSE(isReadable(lie(good, fromEnd, size, number))) << what << ": " << number;
        }
    }
    // A root that is no dictionary, a key that is no text, and a table of less than nothing.
    EXPECT_FALSE(isReadable(binary({array({})})));
    EXPECT_FALSE(isReadable(binary({dictionary({1, 2}), array({}), text})));
    EXPECT_FALSE(isReadable(lie(lie(good, 24, 8, huge / 8), 8, 8, good.size() - 24)));
}

TEST(BinaryPropertyList, NoContainerStandsInTwoPlaces) {
    EXPECT_FALSE(isReadable(binary({dictionary({1, 0}), ascii("k")})));
    EXPECT_FALSE(isReadable(binary({dictionary({1, 2}), ascii("k"), array({2})})));
    EXPECT_FALSE(isReadable(binary({dictionary({1, 2}), ascii("k"), array({0})})));
    // A hundred arrays that each hold the next one twice would be 2^100 values.
    EXPECT_FALSE(isReadable(binary({dictionary({1, 2}), ascii("k"), array({3, 3}), array({})})));
}

TEST(BinaryPropertyList, OneTextDoesNotStandInAMillionPlaces) {
    const auto list = [](std::size_t textSize, std::size_t count) {
        return binary({dictionary({1, 2}), ascii("k"), array(Numbers(count, 3)),
                       ascii(std::string(textSize, 'x'))});
    };
    EXPECT_EQ(textsIn(list(1'000'000, 4)).value_or(Texts()).size(), 4U);
    EXPECT_FALSE(isReadable(list(1'000'000, 100)));
    EXPECT_FALSE(isReadable(list(0, 1'000'000)));
}

TEST(PropertyListFile, IsARegularFileWithinTheLimit) {
    const test::TemporaryFolder folder;
    std::string bytes = xml("");
    bytes.resize(PropertyList::maximumFileSize, ' ');
    const std::string largest = folder.write("largest", bytes);
    EXPECT_TRUE(PropertyList::read(largest));
    ASSERT_EQ(::mkfifo((folder / "fifo").c_str(), 0600), 0);
    const std::string sparse = folder.write("sparse", "");
    std::filesystem::resize_file(sparse, std::uintmax_t{4} << 30U);
    for (const std::string& path :
         {folder.write("larger", bytes + ' '), sparse, folder / "fifo", folder.path(),
          folder / "missing", largest + "\0x"s, "/dev/null"s, "/dev/zero"s, ""s}) {
        EXPECT_FALSE(PropertyList::read(path)) << path;
    }
}

} // namespace
} // namespace peekmend
