// Reading what 300 extensions declare from their bundles.

#include "Benches.h"
#include "Bundles.h"
#include "Fixture.h"
#include "inventory/ContentTypes.h"

#include <QFile>
#include <QXmlStreamReader>

#include <benchmark/benchmark.h>
#include <expat.h>
#include <plist/plist.h>

#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

namespace peekmend::bench {

namespace {

constexpr std::size_t bundleCount = 300;
constexpr std::string_view typesKey = "QLSupportedContentTypes";

const Bundles& bundlesIn(Form form) {
    static const TemporaryFolder folder;
    static const Bundles xml = writeBundles(folder.path() + "/xml", bundleCount, Form::xml);
    static const Bundles binary =
        writeBundles(folder.path() + "/binary", bundleCount, Form::binary);
    return form == Form::xml ? xml : binary;
}

void check(std::size_t count, std::size_t index) {
    if (count != typeCount(index)) {
        fail("a type is missing");
    }
}

void peekmendRead(benchmark::State& state, Form form) {
    const Bundles& bundles = bundlesIn(form);
    for (auto _ : state) {
        const ContentTypeMap map = contentTypesByBundleID(bundles.records);
        if (map.size() != bundleCount) {
            fail("a bundle is missing");
        }
        check(map.at(bundles.records[0].bundleID).size(), 0);
        check(map.at(bundles.records[1].bundleID).size(), 1);
    }
}

void bareRead(benchmark::State& state, Form form) {
    const Bundles& bundles = bundlesIn(form);
    for (auto _ : state) {
        benchmark::DoNotOptimize(readBare(bundles.extensionLists));
    }
}

/// Hands each file's bytes to a reader, which gives back the declared types.
template <typename Reader>
void readEach(benchmark::State& state, Form form, Reader reader) {
    const Bundles& bundles = bundlesIn(form);
    std::string bytes;
    for (auto _ : state) {
        for (std::size_t index = 0; index < bundleCount; ++index) {
            readBare(bundles.extensionLists[index], bytes);
            check(reader(bytes).size(), index);
        }
    }
}

std::vector<std::string> withLibplist(const std::string& bytes) {
    std::vector<std::string> types;
    plist_t list = nullptr;
    plist_from_memory(bytes.data(), static_cast<std::uint32_t>(bytes.size()), &list);
    plist_t array =
        plist_access_path(list, 3, "NSExtension", "NSExtensionAttributes", typesKey.data());
    for (std::uint32_t index = 0; index < plist_array_get_size(array); ++index) {
        char* text = nullptr;
        plist_get_string_val(plist_array_get_item(array, index), &text);
        types.emplace_back(text);
        std::free(text);
    }
    plist_free(list);
    return types;
}

/// What an event reader keeps: the texts of the array after the key.
struct Collector {
    std::vector<std::string> types;
    std::string text;
    bool isKey = false;
    bool isInArray = false;

    void start() { text.clear(); }

    void end(std::string_view name) {
        if (name == "key") {
            isKey = text == typesKey;
        } else if (name == "array" && isInArray) {
            isInArray = false;
        } else if (name == "string" && isInArray) {
            types.push_back(text);
        }
    }

    void startArray() { isInArray = std::exchange(isKey, false); }
};

std::vector<std::string> withExpat(const std::string& bytes) {
    Collector collector;
    XML_Parser parser = XML_ParserCreate(nullptr);
    XML_SetUserData(parser, &collector);
    XML_SetElementHandler(
        parser,
        [](void* data, const XML_Char* name, const XML_Char**) {
            auto& into = *static_cast<Collector*>(data);
            into.start();
            if (std::string_view(name) == "array") {
                into.startArray();
            }
        },
        [](void* data, const XML_Char* name) { static_cast<Collector*>(data)->end(name); });
    XML_SetCharacterDataHandler(parser, [](void* data, const XML_Char* text, int length) {
        static_cast<Collector*>(data)->text.append(text, static_cast<std::size_t>(length));
    });
    XML_Parse(parser, bytes.data(), static_cast<int>(bytes.size()), XML_TRUE);
    XML_ParserFree(parser);
    return collector.types;
}

std::vector<std::string> withQt(const std::string& bytes) {
    Collector collector;
    QXmlStreamReader reader(
        QByteArray::fromRawData(bytes.data(), static_cast<qsizetype>(bytes.size())));
    while (!reader.atEnd()) {
        switch (reader.readNext()) {
        case QXmlStreamReader::StartElement:
            collector.start();
            if (reader.name() == u"array") {
                collector.startArray();
            }
            break;
        case QXmlStreamReader::Characters:
            collector.text += reader.text().toUtf8().toStdString();
            break;
        case QXmlStreamReader::EndElement:
            collector.end(reader.name().toUtf8().toStdString());
            break;
        default:
            break;
        }
    }
    return collector.types;
}

} // namespace

void addPropertyLists() {
    for (const Form form : {Form::xml, Form::binary}) {
        const std::string group = form == Form::xml ? "XML lists/" : "binary lists/";
        const auto add = [&](const char* contestant, auto run) {
            benchmark::RegisterBenchmark((group + contestant).c_str(), run);
        };
        add("peekmend", [form](benchmark::State& state) { peekmendRead(state, form); });
        add("bare read", [form](benchmark::State& state) { bareRead(state, form); });
        add("libplist", [form](benchmark::State& state) { readEach(state, form, withLibplist); });
        if (form == Form::xml) {
            add("expat", [](benchmark::State& state) { readEach(state, Form::xml, withExpat); });
            add("Qt", [](benchmark::State& state) { readEach(state, Form::xml, withQt); });
        }
    }
}

} // namespace peekmend::bench
