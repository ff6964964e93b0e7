#include "preview/Preview.h"
#include "support/Support.h"

#include <QApplication>
#include <QImage>
#include <QLabel>

#include <sys/stat.h>

namespace peekmend {
namespace {

class PreviewContentTest : public testing::Test {
protected:
    static void SetUpTestSuite() {
        qputenv("QT_QPA_PLATFORM", "offscreen");
        static int count = 1;
        static std::string name = "test";
        static char* arguments[] = {name.data(), nullptr};
        application = std::make_unique<QApplication>(count, arguments);
    }

    static void TearDownTestSuite() { application.reset(); }

    /// What a widget says where it has no content to show.
    static QString message(const std::unique_ptr<QWidget>& widget) {
        return widget->property("text").toString();
    }

    static QString plainText(const std::unique_ptr<QWidget>& widget) {
        return widget->property("plainText").toString();
    }

    void SetUp() override { ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0); }

    /// Writes a grey image and returns its path.
    [[nodiscard]] std::string writeImage() const {
        return folder.write("grey.pgm", "P5 5000 100 255\n" + std::string(500'000, '\x40'));
    }

    static inline std::unique_ptr<QApplication> application;
    const test::TemporaryFolder folder;
    /// Whoever opens it, and waits, never comes back.
    const std::string pipe = folder / "pipe";
};

TEST_F(PreviewContentTest, ShowsTextAsItStandsAndFormatsMarkdownButNoHtml) {
    EXPECT_EQ(plainText(textContent(folder.write("a", "<b>x</b> &amp; \xFFz\n"))),
              "<b>x</b> &amp; \uFFFDz\n");
    EXPECT_EQ(plainText(textContent(folder.write("b", {"\xFF\xFE\xFC\0z\0", 6}))), "üz");
    EXPECT_EQ(plainText(textContent(folder.write("c", ""))), "");
    EXPECT_EQ(plainText(markdownContent(folder.write("a.md", "# T\n\n**b** <i>html</i>\n"))),
              "T\nb <i>html</i>");
}

TEST_F(PreviewContentTest, ShowsTheBeginningOfWhatIsTooLong) {
    for (const std::string& text : {std::string(3'000'000, 'x'), std::string(3'000'000, '\n'),
                                    "start" + std::string(3'000'000, '\0')}) {
        const QString shown = plainText(textContent(folder.write("long", text)));
        EXPECT_TRUE(shown.endsWith("\n…\n"));
        EXPECT_LT(shown.size(), 1'100'000);
        EXPECT_EQ(shown.front(), QChar(text.front()));
    }
}

TEST_F(PreviewContentTest, LoadsNothingThatMarkdownRefersTo) {
    const auto shown = [&](const std::string& target) {
        const auto widget = markdownContent(folder.write("a.md", "text ![a](" + target + ")"));
        widget->resize(400, 300);
        return widget->grab().toImage();
    };
    const std::string image = writeImage();
    for (const std::string& target : {image, "file://" + image, pipe, "file://" + pipe}) {
        EXPECT_TRUE(shown(target) == shown("missing")) << target;
    }
}

TEST_F(PreviewContentTest, ScalesImagesToTheScreen) {
    const auto widget = imageContent(writeImage());
    const auto* const label = qobject_cast<const QLabel*>(widget.get());
    ASSERT_TRUE(label != nullptr && !label->pixmap().isNull());
    EXPECT_LT(label->pixmap().width(), 5000);
    EXPECT_EQ(label->pixmap().toImage().pixelColor(0, 0), QColor(0x40, 0x40, 0x40));
}

TEST_F(PreviewContentTest, SaysWhatItCannotShow) {
    for (const auto make : {textContent, markdownContent, imageContent}) {
        for (const std::string& path :
             {pipe, folder.path(), folder / "missing", std::string("/dev/zero")}) {
            EXPECT_FALSE(message(make(path)).isEmpty()) << path;
        }
    }
    // A drawing could name other files to load.
    for (const char* bytes : {"no image", "\x89PNG\r\n\x1A\n",
                              "<svg xmlns='http://www.w3.org/2000/svg' width='9' height='9'/>"}) {
        EXPECT_FALSE(message(imageContent(folder.write("a.png", bytes))).isEmpty()) << bytes;
    }
}

TEST_F(PreviewContentTest, TellsTheFactsOfAnyFile) {
    const QString facts = message(factsContent(folder.write("<b>x.txt", "12345")));
    EXPECT_TRUE(facts.startsWith("<b>x.txt\n")) << facts.toStdString();
    EXPECT_TRUE(facts.contains("5 bytes") && facts.contains("public.plain-text"));
    EXPECT_TRUE(message(factsContent(folder.path())).contains("public.folder"));
    EXPECT_FALSE(message(factsContent(folder / "missing")).isEmpty());
}

} // namespace
} // namespace peekmend
