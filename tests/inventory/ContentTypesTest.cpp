#include "inventory/ContentTypes.h"

#include "support/Support.h"

#include <filesystem>

namespace peekmend::test {
namespace {

using Types = std::vector<std::string>;

TEST(ContentTypes, ReadsTheBundleLayoutThatIsThere) {
    const TemporaryFolder folder;
    folder.write("Standard.appex/Contents/Info.plist",
                 contentTypesPlist({"b.two", "a.one", "b.two"}));
    folder.write("Flat.appex/Info.plist", contentTypesPlist({"flat.type"}));
    folder.write("Both.appex/Contents/Info.plist", contentTypesPlist({"inner.type"}));
    folder.write("Both.appex/Info.plist", contentTypesPlist({"outer.type"}));
    folder.write("Damaged.appex/Contents/Info.plist", "<plist><dict>");
    folder.write("Damaged.appex/Info.plist", contentTypesPlist({"outer.type"}));
    std::filesystem::create_directories(folder / "Folder.appex/Contents/Info.plist");
    folder.write("Folder.appex/Info.plist", contentTypesPlist({"outer.type"}));
    folder.write(
        "String.appex/Info.plist",
        "<plist><dict><key>NSExtension</key><dict><key>NSExtensionAttributes</key><dict>"
        "<key>QLSupportedContentTypes</key><string>a.b</string></dict></dict></dict></plist>");
    const std::pair<const char*, Types> cases[] = {
        {"Standard.appex", {"b.two", "a.one", "b.two"}},
        {"Flat.appex", {"flat.type"}},
        {"Both.appex", {"inner.type"}},
        {"Damaged.appex", {}},
        {"Folder.appex", {}},
        {"String.appex", {}},
        {"Missing.appex", {}},
    };
    for (const auto& [name, types] : cases) {
        EXPECT_EQ(supportedContentTypes(FileURL(folder / name)), types) << name;
    }
}

TEST(ContentTypes, TakesTheLastRecordThatDeclaresAnything) {
    using enum QLRegistrationState;
    const TemporaryFolder folder;
    folder.write("One.appex/Info.plist", contentTypesPlist({"one"}));
    folder.write("Two.appex/Info.plist", contentTypesPlist({"two"}));
    folder.write("None.appex/Info.plist", contentTypesPlist({}));
    const ContentTypeMap map = contentTypesByBundleID({
        {"a.kept", ignored, {}, folder / "One.appex"},
        {"a.kept", enabled, {}, folder / "None.appex"},
        {"a.kept", enabled, {}, {}},
        {"a.replaced", unmarked, {}, folder / "One.appex"},
        {"a.replaced", ignored, {}, folder / "Two.appex"},
        {"a.pathless", enabled, {}, {}},
        {"a.none", enabled, {}, folder / "None.appex"},
    });
    EXPECT_EQ(map, (ContentTypeMap{{"a.kept", {"one"}}, {"a.replaced", {"two"}}}));
}

} // namespace
} // namespace peekmend::test
