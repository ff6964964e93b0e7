#include "preview/Preview.h"
#include "support/Support.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QImage>
#include <QLabel>
#include <QPlainTextEdit>
#include <QTextBrowser>

#include <sys/stat.h>

#include <memory>
#include <string>

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
        const auto* const label = qobject_cast<const QLabel*>(widget.get());
        return label == nullptr ? QString() : label->text();
    }

    static QString plainText(const std::unique_ptr<QWidget>& widget) {
        if (const auto* const browser = qobject_cast<const QTextBrowser*>(widget.get())) {
            return browser->toPlainText();
        }
        const auto* const edit = qobject_cast<const QPlainTextEdit*>(widget.get());
        return edit == nullptr ? QString() : edit->toPlainText();
    }

    static inline std::unique_ptr<QApplication> application;
    const test::TemporaryFolder folder;
};

TEST_F(PreviewContentTest, ShowsTextAsItStands) {
    EXPECT_EQ(plainText(textContent(folder.write("a", "<b>x</b> &amp; \xFFz\n"))),
              QString::fromUtf8("<b>x</b> &amp; \xEF\xBF\xBDz\n"));
    EXPECT_EQ(plainText(textContent(folder.write("b", std::string_view("\xFF\xFE\xFC\0z\0", 6)))),
              QString::fromUtf8("üz"));
    EXPECT_EQ(plainText(textContent(folder.write("c", ""))), "");
}

TEST_F(PreviewContentTest, ShowsTheBeginningOfWhatIsTooLong) {
    for (const std::string& text : {std::string(3'000'000, 'x'), std::string(3'000'000, '\n'),
                                    "start" + std::string(3'000'000, '\0')}) {
        const QString shown = plainText(textContent(folder.write("long", text)));
        EXPECT_TRUE(shown.endsWith(QString::fromUtf8("\n…\n")));
        EXPECT_LT(shown.size(), 1'100'000);
        EXPECT_EQ(shown.front(), QChar(text.front()));
    }
}

TEST_F(PreviewContentTest, FormatsMarkdownButNoHtml) {
    EXPECT_EQ(plainText(markdownContent(folder.write("a.md", "# T\n\n**b** <i>html</i>\n"))),
              "T\nb <i>html</i>");
}

TEST_F(PreviewContentTest, LoadsNothingThatMarkdownRefersTo) {
    QImage red(40, 40, QImage::Format_RGB32);
    red.fill(Qt::red);
    const std::string image = folder / "red.png";
    ASSERT_TRUE(red.save(QString::fromStdString(image)));
    const std::string pipe = folder / "pipe";
    // Whoever opened this pipe would never come back.
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    std::string text = "text\n";
    for (const std::string& target : {image, "file://" + image, pipe, "file://" + pipe}) {
        text += "![a](" + target + ")\n";
    }
    const auto widget = markdownContent(folder.write("a.md", text));
    widget->resize(400, 300);
    const QImage shown = widget->grab().toImage();
    for (int y = 0; y < shown.height(); ++y) {
        for (int x = 0; x < shown.width(); ++x) {
            ASSERT_NE(shown.pixelColor(x, y), QColor(Qt::red));
        }
    }
}

TEST_F(PreviewContentTest, ScalesImagesToTheScreen) {
    QImage image(5000, 10, QImage::Format_RGB32);
    image.fill(Qt::red);
    const std::string path = folder / "wide.png";
    ASSERT_TRUE(image.save(QString::fromStdString(path)));
    const auto widget = imageContent(path);
    const auto* const label = qobject_cast<const QLabel*>(widget.get());
    ASSERT_NE(label, nullptr);
    const QPixmap shown = label->pixmap();
    ASSERT_FALSE(shown.isNull());
    EXPECT_LT(shown.width(), 5000);
    EXPECT_EQ(shown.toImage().pixelColor(0, 0), QColor(Qt::red));
}

TEST_F(PreviewContentTest, SaysWhatItCannotShow) {
    const std::string pipe = folder / "pipe";
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    for (const auto make : {textContent, markdownContent, imageContent}) {
        for (const std::string& path :
             {pipe, folder.path(), folder / "missing", std::string("/dev/zero")}) {
            EXPECT_FALSE(message(make(path)).isEmpty()) << path;
        }
    }
    EXPECT_FALSE(message(imageContent(folder.write("a.png", "no image"))).isEmpty());
    EXPECT_FALSE(message(imageContent(folder.write("b.png", "\x89PNG\r\n\x1A\n"))).isEmpty());
    // A drawing could name other files to load.
    EXPECT_FALSE(
        message(imageContent(folder.write("c.png", R"(<svg xmlns="http://www.w3.org/2000/svg" )"
                                                   R"(width="9" height="9"/>)")))
            .isEmpty());
}

TEST_F(PreviewContentTest, TellsTheFactsOfAnyFile) {
    const QString facts = message(factsContent(folder.write("<b>x.txt", "12345")));
    EXPECT_TRUE(facts.startsWith("<b>x.txt\n")) << facts.toStdString();
    EXPECT_TRUE(facts.contains("5 bytes"));
    EXPECT_TRUE(facts.contains("public.plain-text"));
    EXPECT_TRUE(message(factsContent(folder.path())).contains("public.folder"));
    EXPECT_FALSE(message(factsContent(folder / "missing")).isEmpty());
}

} // namespace
} // namespace peekmend
