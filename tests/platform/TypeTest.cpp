#include "platform/linux/SystemTypeDatabase.h"
#include "support/Support.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <set>

namespace peekmend::test {
namespace {

std::vector<std::string> treeOf(const TypeDatabase& types, const std::string& path) {
    const auto type = types.contentType(FileURL(path));
    if (!type || !*type) {
        return {};
    }
    std::vector<std::string> tree{(*type)->identifier};
    tree.insert(tree.end(), (*type)->supertypes.begin(), (*type)->supertypes.end());
    return tree;
}

TEST(TypeTable, KnowsTheBuiltInTypesAndAllTheirParents) {
    const TypeTable& table = builtInTypes();
    EXPECT_EQ(table.identifierForExtension("MD", FileKind::file), "net.daringfireball.markdown");
    EXPECT_EQ(table.identifierForExtension("key", FileKind::file),
              "com.apple.iwork.keynote.sffkey");
    EXPECT_EQ(table.identifierForExtension("key", FileKind::directory),
              "com.apple.iwork.keynote.key");
    EXPECT_EQ(table.identifierForExtension("framework", FileKind::file), std::nullopt);
    EXPECT_EQ(table.identifierForExtension("txt", FileKind::directory), std::nullopt);
    EXPECT_EQ(table.type("PUBLIC.plain-text"),
              (UniformType{"public.plain-text",
                           {"public.text", "public.data", "public.content", "public.item"}}));
}

TEST(TypeTable, SurvivesOddGraphs) {
    TypeTable table(&builtInTypes());
    table.add({"a.one", {"a.two", "public.data"}, {"one"}});
    table.add({"a.two", {"a.one", "a.unknown", "A.TWO"}, {}});
    table.add({"public.png", {"a.one"}, {"one"}}); // built in already
    EXPECT_EQ(table.type("a.one").supertypes,
              (std::vector<std::string>{"a.two", "public.data", "a.unknown", "public.item"}));
    EXPECT_EQ(table.type("public.png"), builtInTypes().type("public.png"));
    EXPECT_EQ(table.type("a.unknown"), (UniformType{"a.unknown", {}}));
    EXPECT_EQ(table.identifierForExtension("one", FileKind::file), "a.one");
}

TEST(TypeTable, EncodesUnknownExtensionsAsTheSystemDoes) {
    EXPECT_EQ(dynamicTypeIdentifier("2"), "dyn.ah62d4rv4ge8xe");
    EXPECT_EQ(dynamicTypeIdentifier("inc"), "dyn.ah62d4rv4ge80w5xd");
    EXPECT_EQ(dynamicTypeIdentifier("Rproj"), "dyn.ah62d4rv4ge81e6dwr7za");
    EXPECT_EQ(dynamicTypeIdentifier("editorconfig"), "dyn.ah62d4rv4ge80n3dmsv11e25tr3xgw32");
    EXPECT_NE(dynamicTypeIdentifier("a:b"), dynamicTypeIdentifier("a\\b"));
}

TEST(SystemTypeDatabase, GivesEveryKindOfItemItsIdentifier) {
    const TemporaryFolder folder;
    folder.write("target.png", "");
    for (const char* const name : {"Notes.app", "deck.key", "plain.txt", "nothing", "a.md"}) {
        ASSERT_EQ(::mkdir((folder / name).c_str(), 0700), 0);
    }
    ASSERT_EQ(::mkfifo((folder / "pipe.txt").c_str(), 0600), 0);
    ASSERT_EQ(::symlink("target.png", (folder / "link.txt").c_str()), 0);
    ASSERT_EQ(::symlink("missing.png", (folder / "dangling.png").c_str()), 0);
    folder.writeScript("program", "");
    folder.writeScript("script.txt", "");
    for (const char* const name : {"flat.md", "flat.MARKDOWN", "deck.app", "a.tar.gz", "plain",
                                   ".hidden", "ends.", "two words.a b", "wget-log.2"}) {
        folder.write(std::string("files/") + name, "");
    }
    const SystemTypeDatabase types([] { return std::vector<std::string>(); });
    const std::pair<const char*, const char*> cases[] = {
        {"files/flat.md", "net.daringfireball.markdown"},
        {"files/flat.MARKDOWN", "net.daringfireball.markdown"},
        {"files/deck.app", "com.apple.application-file"},
        {"files/a.tar.gz", "org.gnu.gnu-zip-archive"},
        {"files/plain", "public.data"},
        {"files/.hidden", "public.data"},
        {"files/ends.", "public.data"},
        {"files/two words.a b", "public.data"},
        {"files/wget-log.2", "dyn.ah62d4rv4ge8xe"},
        {"program", "public.unix-executable"},
        {"script.txt", "public.plain-text"},
        {"Notes.app/", "com.apple.application-bundle"},
        {"deck.key", "com.apple.iwork.keynote.key"},
        {"plain.txt", "public.folder"},
        {"a.md", "public.folder"},
        {"nothing", "public.folder"},
        {"pipe.txt", "public.named-pipe"},
        {"link.txt", "public.png"},
        {"dangling.png", "public.symlink"},
    };
    for (const auto& [name, identifier] : cases) {
        const FileURL file(folder / name);
        EXPECT_EQ(types.typeIdentifier(file).value_or(std::nullopt), identifier) << name;
        auto tree = treeOf(types, folder / name);
        ASSERT_FALSE(tree.empty()) << name;
        EXPECT_EQ(tree.front(), identifier) << name;
        EXPECT_EQ(std::set<std::string>(tree.begin(), tree.end()).size(), tree.size()) << name;
    }
    EXPECT_EQ(treeOf(types, "/dev/null").front(), "public.character-special");
    EXPECT_EQ(treeOf(types, folder / "files/wget-log.2"),
              (std::vector<std::string>{"dyn.ah62d4rv4ge8xe", "public.data", "public.item"}));
    EXPECT_EQ(types.contentType(FileURL(folder / "missing.md")).error().code, ENOENT);
    EXPECT_FALSE(types.contentType(FileURL(std::string("/dev/null\0.md", 13))));
}

TEST(SystemTypeDatabase, AddsWhatApplicationsDeclareExportedTypesFirst) {
    const auto declaration = [](std::string_view kind, std::string_view identifier,
                                std::string_view parents, std::string_view extension) {
        return "<key>" + std::string(kind) +
               "</key><array><string>junk</string><dict><key>UTTypeIdentifier</key><string>" +
               std::string(identifier) + "</string><key>UTTypeConformsTo</key>" +
               std::string(parents) +
               "<key>UTTypeTagSpecification</key><dict><key>public.filename-extension</key>"
               "<array><string>" +
               std::string(extension) + "</string></array></dict></dict></array>";
    };
    const auto plist = [](const std::string& entries) {
        return "<plist><dict>" + entries + "</dict></plist>";
    };
    const TemporaryFolder folder;
    const std::string text = "<string>public.plain-text</string>";
    folder.write("A.app/Contents/Info.plist",
                 plist(declaration("UTImportedTypeDeclarations", "a.imported", text, "script")));
    folder.write(
        "B.app/Contents/Info.plist",
        plist(declaration("UTExportedTypeDeclarations", "b.exported",
                          "<array>" + text + "<string>b\tforged</string></array>", "Script")));
    const std::string own = folder / "A.app/Contents/PlugIns/Own.appex";
    folder.write("A.app/Contents/PlugIns/Own.appex/Info.plist",
                 plist(declaration("UTExportedTypeDeclarations", "c.own", text, "own") +
                       declaration("UTImportedTypeDeclarations", "c\nforged", text, "forged")));
    const SystemTypeDatabase types([&] {
        return std::vector<std::string>{own, folder / "B.app/Contents/PlugIns/Missing.appex"};
    });
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
