#include "platform/linux/SystemTypeDatabase.h"
#include "support/Support.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

namespace peekmend::test {
namespace {

using Texts = std::vector<std::string>;

Texts treeOf(const TypeDatabase& types, const std::string& path) {
    const auto type = types.contentType(FileURL(path));
    if (!type || !*type) {
        return {};
    }
    Texts tree{(*type)->identifier};
    tree.insert(tree.end(), (*type)->supertypes.begin(), (*type)->supertypes.end());
    return tree;
}

TEST(TypeTable, SurvivesOddGraphs) {
    TypeTable table(&builtInTypes());
    table.add({"a.one", {"a.two", "public.data"}, {"one"}});
    table.add({"a.two", {"a.one", "a.unknown", "A.TWO"}, {}});
    table.add({"public.png", {"a.one"}, {"one"}}); // built in already
    EXPECT_EQ(table.type("a.one").supertypes,
              (Texts{"a.two", "public.data", "a.unknown", "public.item"}));
    EXPECT_EQ(table.type("A.ONE").identifier, "a.one");
    EXPECT_EQ(table.type("public.png"), builtInTypes().type("public.png"));
    EXPECT_EQ(table.type("a.unknown"), (UniformType{"a.unknown", {}}));
    EXPECT_EQ(table.identifierForExtension("one", FileKind::file), "a.one");
}

TEST(SystemTypeDatabase, GivesEveryKindOfItemItsIdentifier) {
    const TemporaryFolder folder;
    const SystemTypeDatabase types([] { return Texts(); });
    const auto check = [&](const std::string& path, std::string_view identifier) {
        EXPECT_EQ(types.typeIdentifier(FileURL(path)).value_or(std::nullopt), identifier) << path;
    };
    const std::pair<const char*, const char*> files[] = {
        {"flat.md", "net.daringfireball.markdown"},
        {"flat.MARKDOWN", "net.daringfireball.markdown"},
        {"deck.app", "com.apple.application-file"},
        {"talk.key", "com.apple.iwork.keynote.sffkey"},
        {"a.tar.gz", "org.gnu.gnu-zip-archive"},
        {"plain", "public.data"},
        {".hidden", "public.data"},
        {"ends.", "public.data"},
        {"two words.a b", "public.data"},
        {"target.png", "public.png"},
        {"wget-log.2", "dyn.ah62d4rv4ge8xe"},
        {"a.inc", "dyn.ah62d4rv4ge80w5xd"},
        {"a.Rproj", "dyn.ah62d4rv4ge81e6dwr7za"},
        {"a.editorconfig", "dyn.ah62d4rv4ge80n3dmsv11e25tr3xgw32"},
    };
    for (const auto& [name, identifier] : files) {
        check(folder.write(name, ""), identifier);
    }
    const std::pair<const char*, const char*> folders[] = {
        {"Notes.app/", "com.apple.application-bundle"},
        {"deck.key", "com.apple.iwork.keynote.key"},
        {"plain.txt", "public.folder"},
        {"a.md", "public.folder"},
        {"nothing", "public.folder"},
    };
    for (const auto& [name, identifier] : folders) {
        ASSERT_EQ(::mkdir((folder / name).c_str(), 0700), 0);
        check(folder / name, identifier);
    }
    check(folder.writeScript("program", ""), "public.unix-executable");
    EXPECT_EQ(treeOf(types, folder.writeScript("script.txt", "")),
              (Texts{"public.plain-text", "public.text", "public.data", "public.content",
                     "public.item"}));
    ASSERT_EQ(::mkfifo((folder / "pipe.txt").c_str(), 0600), 0);
    check(folder / "pipe.txt", "public.named-pipe");
    ASSERT_EQ(::symlink("target.png", (folder / "link.txt").c_str()), 0);
    check(folder / "link.txt", "public.png");
    ASSERT_EQ(::symlink("missing.png", (folder / "dangling.png").c_str()), 0);
    check(folder / "dangling.png", "public.symlink");
    check("/dev/null", "public.character-special");
    EXPECT_EQ(treeOf(types, folder / "wget-log.2"),
              (Texts{"dyn.ah62d4rv4ge8xe", "public.data", "public.item"}));
    EXPECT_NE(dynamicTypeIdentifier("a:b"), dynamicTypeIdentifier("a\\b"));
    EXPECT_EQ(types.contentType(FileURL(folder / "missing.md")).error().code, ENOENT);
    EXPECT_FALSE(types.contentType(FileURL(std::string("/dev/null\0.md", 13))));
}

TEST(SystemTypeDatabase, AddsWhatApplicationsDeclareExportedTypesFirst) {
    using Text = std::string;
    const auto declaration = [](const Text& kind, const Text& identifier, const Text& parents,
                                const Text& extension) {
        return "<key>UT" + kind +
               "TypeDeclarations</key><array><string>junk</string><dict>"
               "<key>UTTypeIdentifier</key><string>" +
               identifier + "</string><key>UTTypeConformsTo</key>" + parents +
               "<key>UTTypeTagSpecification</key><dict><key>public.filename-extension</key>"
               "<array><string>" +
               extension + "</string></array></dict></dict></array>";
    };
    const TemporaryFolder folder;
    const auto declare = [&](const Text& bundle, const Text& entries) {
        folder.write(bundle + "/Info.plist", "<plist><dict>" + entries + "</dict></plist>");
    };
    const Text text = "<string>public.plain-text</string>";
    const Text two = "<array>" + text + "<string>b\tforged</string></array>";
    declare("A.app/Contents", declaration("Imported", "a.imported", text, "script"));
    declare("B.app/Contents", declaration("Exported", "b.exported", two, "Script"));
    declare("A.app/Contents/PlugIns/Own.appex",
            declaration("Exported", "c.own", text, "own") +
                declaration("Imported", "c\nforged", text, "forged"));
    const Text own = folder / "A.app/Contents/PlugIns/Own.appex";
    const SystemTypeDatabase types(
        [&] { return Texts{own, folder / "B.app/Contents/PlugIns/Missing.appex"}; });
    const std::pair<const char*, const char*> cases[] = {
        {"scene.SCRIPT", "b.exported"},
        {"a.own", "c.own"},
        {"a.md", "net.daringfireball.markdown"},
    };
    for (const auto& [name, identifier] : cases) {
        const auto tree = treeOf(types, folder.write(name, ""));
        ASSERT_GE(tree.size(), 5U) << name;
        EXPECT_EQ(tree[0], identifier);
        EXPECT_EQ(tree[1], "public.plain-text");
        EXPECT_EQ(std::ranges::count(tree, "b\tforged"), 0);
    }
    EXPECT_TRUE(treeOf(types, folder.write("a.forged", "")).front().starts_with("dyn.a"));
}

} // namespace
} // namespace peekmend::test
