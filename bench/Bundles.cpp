#include "Bundles.h"

#include "Fixture.h"

#include <plist/plist.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string_view>

namespace peekmend::bench {

namespace {

std::string entry(std::string_view key, std::string_view value) {
    return "\t<key>" + std::string(key) + "</key>\n\t<string>" + std::string(value) + "</string>\n";
}

std::string document(std::string_view entries) {
    return R"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">
<plist version="1.0">
<dict>
)" + std::string(entries) +
           "</dict>\n</plist>\n";
}

/// What the makers' tools put into every bundle.
std::string commonEntries(const std::string& identifier, std::string_view program) {
    return entry("BuildMachineOSBuild", "23F79") + entry("CFBundleDevelopmentRegion", "en") +
           entry("CFBundleDisplayName", program) + entry("CFBundleExecutable", program) +
           entry("CFBundleIconFile", "AppIcon") + entry("CFBundleIconName", "AppIcon") +
           entry("CFBundleIdentifier", identifier) + entry("CFBundleInfoDictionaryVersion", "6.0") +
           entry("CFBundleName", program) + entry("CFBundlePackageType", "XPC!") +
           entry("CFBundleShortVersionString", "2.7.1") +
           "\t<key>CFBundleSupportedPlatforms</key>\n\t<array>\n\t\t<string>MacOSX</string>\n"
           "\t</array>\n" +
           entry("CFBundleVersion", "20741") +
           entry("DTCompiler", "com.apple.compilers.llvm.clang.1_0") +
           entry("DTPlatformBuild", "23F73") + entry("DTPlatformName", "macosx") +
           entry("DTPlatformVersion", "14.5") + entry("DTSDKBuild", "23F73") +
           entry("DTSDKName", "macosx14.5") + entry("DTXcode", "1540") +
           entry("DTXcodeBuild", "15F31d") + entry("LSMinimumSystemVersion", "12.0") +
           entry("NSHumanReadableCopyright", "Copyright \xc2\xa9 2019\xe2\x80\x93"
                                             "2026 The makers. All rights reserved.");
}

/// Most extensions preview a few types, and those of editors about a hundred.
std::string types(const std::string& maker, std::size_t index) {
    std::string text;
    for (std::size_t type = 0; type < typeCount(index); ++type) {
        text += "\t\t\t\t<string>com." + maker + (type == 0 ? ".document" : ".document-type-") +
                (type == 0 ? "" : std::to_string(type)) + "</string>\n";
    }
    return text;
}

std::string extensionList(std::size_t index) {
    const std::string maker = "maker" + std::to_string(index);
    return document(
        commonEntries("com." + maker + ".application.preview", "Preview") +
        "\t<key>NSExtension</key>\n\t<dict>\n\t\t<key>NSExtensionAttributes</key>\n\t\t<dict>\n"
        "\t\t\t<key>QLSupportedContentTypes</key>\n\t\t\t<array>\n" +
        types(maker, index) +
        "\t\t\t</array>\n"
        "\t\t\t<key>QLSupportsSearchableItems</key>\n\t\t\t<false/>\n\t\t</dict>\n"
        "\t\t<key>NSExtensionPointIdentifier</key>\n"
        "\t\t<string>com.apple.quicklook.preview</string>\n"
        "\t\t<key>NSExtensionPrincipalClass</key>\n"
        "\t\t<string>Preview.PreviewViewController</string>\n\t</dict>\n");
}

std::string applicationList(const std::string& number, bool declaresType) {
    return document(
        commonEntries("com.maker" + number + ".application", "Application") +
        "\t<key>UTExportedTypeDeclarations</key>\n\t<array>\n\t\t<dict>\n"
        "\t\t\t<key>UTTypeConformsTo</key>\n\t\t\t<array>\n"
        "\t\t\t\t<string>public.data</string>\n\t\t\t\t<string>public.content</string>\n"
        "\t\t\t</array>\n\t\t\t<key>UTTypeIdentifier</key>\n\t\t\t<string>com.maker" +
        number +
        ".document</string>\n\t\t\t<key>UTTypeTagSpecification</key>\n\t\t\t<dict>\n"
        "\t\t\t\t<key>public.filename-extension</key>\n\t\t\t\t<array>\n\t\t\t\t\t<string>" +
        (declaresType ? bundleFileExtension : "maker" + number) +
        "</string>\n\t\t\t\t</array>\n\t\t\t</dict>\n\t\t</dict>\n\t</array>\n");
}

std::string inBinary(const std::string& xml) {
    plist_t list = nullptr;
    plist_from_xml(xml.data(), static_cast<std::uint32_t>(xml.size()), &list);
    char* bytes = nullptr;
    std::uint32_t size = 0;
    plist_to_bin(list, &bytes, &size);
    std::string binary(bytes, size);
    std::free(bytes);
    plist_free(list);
    return binary;
}

std::string write(const std::string& bundle, const std::string& xml, Form form) {
    std::filesystem::create_directories(bundle + "/Contents");
    std::string path = bundle + "/Contents/Info.plist";
    std::ofstream(path) << (form == Form::xml ? xml : inBinary(xml));
    return path;
}

} // namespace

std::size_t typeCount(std::size_t index) {
    return index % 10 == 0 ? 100 : 6;
}

Bundles writeBundles(const std::string& folder, std::size_t count, Form form) {
    Bundles bundles;
    bundles.folders.push_back(folder);
    for (std::size_t index = 0; index < count; ++index) {
        const std::string number = std::to_string(index);
        const std::string application = folder + "/Application " + number + ".app";
        const std::string extension = application + "/Contents/PlugIns/Preview.appex";
        bundles.folders.push_back(application + "/Contents/PlugIns");
        bundles.applicationLists.push_back(
            write(application, applicationList(number, index + 1 == count), form));
        bundles.extensionLists.push_back(write(extension, extensionList(index), form));
        bundles.records.push_back({.bundleID = "com.maker" + number + ".application.preview",
                                   .state = QLRegistrationState::unmarked,
                                   .version = "2.7.1",
                                   .path = extension});
    }
    return bundles;
}

} // namespace peekmend::bench
