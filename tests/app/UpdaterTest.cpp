#include "app/UpdaterController.h"

#include "app/Appcast.h"
#include "app/BuildConfig.h"
#include "support/Support.h"

#include <QApplication>
#include <QDialog>
#include <QPushButton>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTextEdit>

namespace peekmend::test {
namespace {

using Strings = std::vector<std::string>;

QByteArray rss(const QByteArray& items) {
    return "<?xml version='1.0'?><rss xmlns:s='urn:x'><channel><title>9</title>" + items +
           "</channel></rss>";
}

QByteArray item(const QByteArray& version) {
    return "<item><s:version>" + version + "</s:version></item>";
}

TEST(Appcast, OffersItsHighestVersion) {
    struct Case {
        QByteArray document;
        QString version;
        QString page;
    };

    for (const Case& row : {
             Case{rss(item("1.9") + item("1.10.0") + item("1.2")), "1.10.0", ""},
             Case{rss("<item><enclosure s:version='7' s:shortVersionString=' 1.2 '/></item>"),
                  "1.2", ""},
             Case{rss("<item><enclosure url='u' version='1.3'>?</enclosure></item>"), "1.3", ""},
             Case{rss("<item><s:shortVersionString>1.4</s:shortVersionString><s:version>900"
                      "</s:version><link> https://x.test/?a&amp;b </link></item>"),
                  "1.4", "https://x.test/?a&b"},
             Case{rss("<item><s:shortVersionString>0.1</s:shortVersionString>"
                      "<enclosure s:version='900'/></item>"),
                  "0.1", ""},
             Case{rss(item("2&lt;b>") + "<item><link>https://x.test/</link></item>"), "2<b>", ""},
             Case{rss("<item><link>file:///bin/sh</link><s:version>1</s:version></item>"), "1", ""},
             Case{rss(item("") + item("new") + item("99999999999999999999")), {}, ""},
             Case{rss("<version>3</version>"), {}, ""},
             Case{rss(item("1")).chopped(1), {}, ""},
             Case{rss(item("1")).replace("xmlns:s", "xmlns:t"), {}, ""},
             Case{"<html><p>1.0", {}, ""},
         }) {
        const auto newest = newestAppcastItem(row.document);
        EXPECT_EQ(newest ? newest->versionText : QString(), row.version) << row.document.data();
        EXPECT_EQ(newest ? newest->page : QUrl(), QUrl(row.page)) << row.document.data();
        EXPECT_EQ(newest.has_value(), !row.version.isNull()) << row.document.data();
    }
}

class Updater : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(server.listen(QHostAddress::LocalHost));
        QObject::connect(&server, &QTcpServer::newConnection, [this] {
            client = server.nextPendingConnection();
            ++connections;
            QObject::connect(client, &QTcpSocket::readyRead, [this] {
                request += client->readAll();
                if (!answer.isEmpty() && request.endsWith("\r\n\r\n")) {
                    client->write(answer);
                    client->disconnectFromHost();
                }
            });
        });
    }

    QUrl feed(const QString& host = "127.0.0.1", const QString& scheme = "http") const {
        return QString("%1://%2:%3/feed.xml").arg(scheme, host).arg(server.serverPort());
    }

    void serve(const QByteArray& document, const QByteArray& status = "200 OK") {
        answer = "HTTP/1.1 " + status +
                 "\r\nContent-Length: " + QByteArray::number(document.size()) +
                 "\r\nConnection: close\r\n\r\n" + document;
    }

    static bool await(const std::function<bool()>& condition) {
        return eventually([&] {
            QCoreApplication::processEvents();
            return condition();
        });
    }

    template <typename Widget>
    static QList<Widget*> inDialogs() {
        QList<Widget*> found;
        for (QWidget* const window : QApplication::topLevelWidgets()) {
            if (qobject_cast<QDialog*>(window) != nullptr && window->isVisible()) {
                found += window->findChildren<Widget*>();
            }
        }
        return found;
    }

    /// What all open dialogs say, then their buttons.
    static Strings shown() {
        Strings shown;
        for (const QTextEdit* const text : inDialogs<QTextEdit>()) {
            shown.push_back(text->toPlainText().toStdString());
        }
        for (const QPushButton* const button : inDialogs<QPushButton>()) {
            shown.push_back("[" + button->text().toStdString() + "]");
        }
        return shown;
    }

    static void click(const QString& text) {
        for (QPushButton* const button : inDialogs<QPushButton>()) {
            if (button->text() == text) {
                button->click();
                return;
            }
        }
        FAIL() << "no button " << text.toStdString();
    }

    UpdaterController controller(const QUrl& address) {
        return {address, [this](const std::string& page) {
                    opened.push_back(page);
                    return true;
                }};
    }

    /// What a check shows in the end.
    Strings resultOfCheck() {
        auto updater = controller(feed());
        updater.checkForUpdates();
        EXPECT_EQ(shown(), checking);
        EXPECT_TRUE(await([&] { return shown() != checking; }));
        return shown();
    }

    const std::string version = buildConfig::version;
    const Strings checking{"Checking for updates\u2026", "Asking 127.0.0.1.", "[Cancel]"};
    const Strings upToDate{"Peekmend is up to date", "Version " + version + " is the newest one.",
                           "[OK]"};
    QTcpServer server;
    QPointer<QTcpSocket> client;
    int connections = 0;
    QByteArray request;
    /// Empty to stay silent.
    QByteArray answer;
    Strings opened;
};

TEST_F(Updater, SaysWhatTheFeedOffers) {
    const std::string failure = "The check for updates failed";
    const Strings damaged{failure, "The answer is not an appcast that names a version.", "[OK]"};
    const Strings tooLong{failure, "The answer is too long for an appcast.", "[OK]"};
    const QByteArray same = rss(item(buildConfig::version));
    constexpr qsizetype limit = 1024 * 1024;

    struct Case {
        QByteArray document;
        Strings result;
    };

    for (const Case& row : {
             Case{rss(item("99.1 &lt;b>x&lt;/b>")),
                  {"A newer version is available",
                   "Peekmend 99.1 <b>x</b> is available; this is version " + version + ".",
                   "[Later]"}},
             Case{same, upToDate},
             Case{rss(item("0.0.1")), upToDate},
             Case{same.chopped(1), damaged},
             Case{"", damaged},
             Case{same + QByteArray(limit - same.size(), ' '), upToDate},
             Case{same + QByteArray(limit + 1 - same.size(), ' '), tooLong},
             Case{QByteArray(4 * limit, 'x'), tooLong},
         }) {
        serve(row.document);
        EXPECT_EQ(resultOfCheck(), row.result) << row.document.left(200).data();
        EXPECT_EQ(shown(), Strings()) << "the dialog goes with its owner";
    }
    EXPECT_TRUE(request.startsWith("GET /feed.xml HTTP/1.1\r\n")) << request.data();
    EXPECT_TRUE(request.contains(("User-Agent: Peekmend/" + version + "\r\n").c_str()));

    serve(same, "404 Not Found");
    const Strings missing = resultOfCheck();
    EXPECT_EQ(missing.at(0), failure);
    EXPECT_NE(missing.at(1).find("Not Found"), std::string::npos) << missing.at(1);
}

TEST_F(Updater, OpensThePageOfTheNewVersionWhenAsked) {
    serve(rss("<item><s:version>99</s:version><link>https://x.test/%C3%BC</link></item>"));
    auto updater = controller(feed());
    updater.checkForUpdates();
    ASSERT_TRUE(await([&] { return shown() != checking; }));
    EXPECT_EQ(inDialogs<QPushButton>().size(), 2);
    EXPECT_EQ(opened, Strings());
    click("Show Page\u2026");
    EXPECT_EQ(opened, Strings{"https://x.test/%C3%BC"});
    EXPECT_EQ(shown(), Strings());
}

TEST_F(Updater, ShowsOneDialogForTwoQuickChecks) {
    auto updater = controller(feed());
    updater.checkForUpdates();
    updater.checkForUpdates();
    EXPECT_EQ(shown(), checking) << "not twice";
    ASSERT_TRUE(await([&] { return !request.isEmpty(); }));
    serve(rss(item("0.0.1")));
    client->write(answer);
    ASSERT_TRUE(await([&] { return shown() == upToDate; }));
    updater.checkForUpdates();
    EXPECT_EQ(shown(), upToDate);
    EXPECT_EQ(connections, 1);
    click("OK");
    EXPECT_EQ(shown(), Strings());
    updater.checkForUpdates();
    EXPECT_EQ(shown(), checking);
    EXPECT_TRUE(await([&] { return shown() == upToDate; }))
        << "nothing of the first answer is left";
}

TEST_F(Updater, CanBeStoppedWhileTheServerIsSilent) {
    const std::function<void(std::unique_ptr<UpdaterController>&)> ways[] = {
        [](auto&) { click("Cancel"); },
        [](auto&) { QApplication::activeWindow()->close(); },
        [](auto& updater) { updater->stop(); },
        [](auto& updater) { updater.reset(); },
    };
    for (const auto& stop : ways) {
        auto updater = std::make_unique<UpdaterController>(feed(), nullptr);
        answer.clear();
        request.clear();
        updater->checkForUpdates();
        ASSERT_TRUE(await([&] { return !request.isEmpty(); }));
        EXPECT_EQ(shown(), checking);
        stop(updater);
        EXPECT_EQ(shown(), Strings());
        EXPECT_TRUE(await([&] { return client->state() == QTcpSocket::UnconnectedState; }));
        EXPECT_EQ(shown(), Strings()) << "an end that was asked for is no failure";
        if (updater) {
            serve(rss(item("0.0.1")));
            updater->checkForUpdates();
            EXPECT_TRUE(await([&] { return shown() == upToDate; }));
        }
    }
}

TEST_F(Updater, AsksNoAddressThatItMustNot) {
    const Strings refused{"The check for updates failed",
                          "The update address of this copy is not a secure one, so it was not "
                          "asked.",
                          "[OK]"};
    const Strings without{"This copy has no update address",
                          "This copy of Peekmend " + version + " is updated by " +
                              buildConfig::updatedBy + ".",
                          "[OK]"};

    struct Case {
        QUrl address;
        Strings result;
    };

    for (const Case& row : {
             Case{{}, without},
             Case{feed("192.0.2.1"), refused},
             Case{feed("127.0.0.1.x.test"), refused},
             Case{feed("127.0.0.1", "ftp"), refused},
             Case{QUrl("file:///etc/hostname"), refused},
             Case{QUrl("data:,x"), refused},
         }) {
        auto updater = controller(row.address);
        updater.checkForUpdates();
        EXPECT_EQ(shown(), row.result);
        click("OK");
        EXPECT_EQ(shown(), Strings());
    }
}

TEST_F(Updater, FollowsNoRedirectToAnAddressThatItMustNotAsk) {
    auto updater = controller(feed());
    answer =
        "HTTP/1.1 302 Found\r\nContent-Length: 0\r\nLocation: " + feed("localhost").toEncoded() +
        "\r\n\r\n";
    updater.checkForUpdates();
    ASSERT_TRUE(await([&] { return shown() != checking; }));
    EXPECT_EQ(shown(), Strings({"The check for updates failed",
                                "The update address leads to another one that is not secure, so "
                                "that one was not asked.",
                                "[OK]"}));
    EXPECT_EQ(connections, 1);
}

} // namespace
} // namespace peekmend::test
