#include "app/UpdaterController.h"

#include "app/Appcast.h"
#include "app/BuildConfig.h"
#include "platform/ChildProcess.h"
#include "support/Support.h"

#include <QApplication>
#include <QDialog>
#include <QPushButton>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTextEdit>

#include <sys/resource.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <tuple>

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
    const std::tuple<QByteArray, QString, QString> cases[] = {
        {rss(item("1.9") + item("1.10.0") + item("1.2")), "1.10.0", ""},
        {rss("<item><enclosure s:version='7' s:shortVersionString=' 1.2 '/></item>"), "1.2", ""},
        {rss("<item><enclosure url='u' version='1.3'>?</enclosure></item>"), "1.3", ""},
        {rss("<item><s:shortVersionString>1.4</s:shortVersionString><s:version>900"
             "</s:version><link> https://x.test/?a&amp;b </link></item>"),
         "1.4", "https://x.test/?a&b"},
        {rss("<item><s:shortVersionString>0.1</s:shortVersionString>"
             "<enclosure s:version='900'/></item>"),
         "0.1", ""},
        {rss(item("2&lt;b>") + "<item><link>https://x.test/</link></item>"), "2", ""},
        {rss("<item><link>file:///bin/sh</link><s:version>1</s:version></item>"), "1", ""},
        {rss(item("") + item("new") + item("99999999999999999999")), {}, ""},
        {rss("<version>3</version>"), {}, ""},
        {rss(item("1")).chopped(1), {}, ""},
        {rss(item("1")).replace("xmlns:s", "xmlns:t"), {}, ""},
        {"<html><p>1.0", {}, ""},
        {rss(item("1")) + QByteArray(64 * 1024, ' '), {}, ""},
    };
    for (const auto& [document, version, page] : cases) {
        const auto newest = newestAppcastItem(document);
        EXPECT_EQ(newest.has_value(), !version.isNull()) << document.data();
        EXPECT_EQ(newest.value_or(AppcastItem()).versionText, version) << document.data();
        EXPECT_EQ(newest.value_or(AppcastItem()).page, QUrl(page)) << document.data();
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
        const auto buttons = inDialogs<QPushButton>();
        const auto button = std::ranges::find(buttons, text, &QPushButton::text);
        ASSERT_NE(button, buttons.end()) << text.toStdString();
        (*button)->click();
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
    const std::string failed = "The check for updates failed";
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
    const Strings damaged{failed, "The answer is not an appcast that names a version.", "[OK]"};
    const Strings tooLong{failed, "The answer is too long for an appcast.", "[OK]"};
    const QByteArray same = rss(item(buildConfig::version));
    constexpr qsizetype limit = 64 * 1024;

    const std::pair<QByteArray, Strings> cases[] = {
        {rss(item("99.1 &lt;b>x&lt;/b>")),
         {"A newer version is available",
          "Peekmend 99.1 is available; this is version " + version + ".", "[Later]"}},
        {same, upToDate},
        {rss(item("0.0.1")), upToDate},
        {same.chopped(1), damaged},
        {"", damaged},
        {same + QByteArray(limit - same.size(), ' '), upToDate},
        {same + QByteArray(limit + 1 - same.size(), ' '), tooLong},
        {QByteArray(4 * limit, 'x'), tooLong},
    };
    for (const auto& [document, result] : cases) {
        serve(document);
        EXPECT_EQ(resultOfCheck(), result) << document.left(200).data();
        EXPECT_EQ(shown(), Strings()) << "the dialog goes with its owner";
    }
    EXPECT_TRUE(request.startsWith("GET /feed.xml HTTP/1.1\r\n")) << request.data();
    EXPECT_TRUE(request.contains(("User-Agent: Peekmend/" + version + "\r\n").c_str()));

    serve(same, "404 Not Found");
    EXPECT_EQ(resultOfCheck(),
              Strings({failed, "The server answered with the status 404.", "[OK]"}));
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
        EXPECT_TRUE(await([&] { return client->state() == QTcpSocket::UnconnectedState; }));
        EXPECT_EQ(shown(), Strings()) << "an end that was asked for is no failure";
        EXPECT_TRUE(await([] { return Resources::inUse().children == 0; }));
        if (updater) {
            serve(rss(item("0.0.1")));
            updater->checkForUpdates();
            EXPECT_TRUE(await([&] { return shown() == upToDate; }));
        }
    }
}

TEST_F(Updater, SaysThatTheProgramThatAsksWasKilledOrNotStarted) {
    auto updater = controller(feed());
    updater.checkForUpdates();
    ASSERT_TRUE(await([&] { return !request.isEmpty(); }));
    ASSERT_EQ(::kill(std::stoi(readFile("/proc/thread-self/children")), SIGKILL), 0);
    const Strings killed{failed, "The program that asks for updates did not do its work.", "[OK]"};
    EXPECT_TRUE(await([&] { return shown() == killed; }));
    click("OK");

    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
    const rlimit none{.rlim_cur = 0, .rlim_max = before.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
    updater.checkForUpdates();
    EXPECT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0);
    EXPECT_EQ(shown(), Strings({failed, "Couldn't open a pipe: Too many open files.", "[OK]"}));
}

TEST_F(Updater, AsksNoLongerThanTheProgramLives) {
    {
        const auto program =
            ChildProcess::launch({.executablePath = "/bin/sh",
                                  .arguments = {"-c", R"("$0" "$1" x & wait)", ownTool("fetch"),
                                                feed().toString().toStdString()},
                                  .standardOutput = {},
                                  .standardError = {}});
        ASSERT_TRUE(program);
        ASSERT_TRUE(await([&] { return !request.isEmpty(); }));
    } // killed here
    client->write("HTTP/1.1 200 OK\r\nContent-Length: 60000\r\n\r\n");
    EXPECT_TRUE(await([&] {
        client->write("x"); // never silent, never done
        return client->state() == QTcpSocket::UnconnectedState;
    }));

    auto pipe = makePipe();
    ASSERT_TRUE(pipe);
    pipe->readEnd.reset();
    const int before = connections;
    auto orphan = ChildProcess::launch({.executablePath = ownTool("fetch"),
                                        .arguments = {feed().toString().toStdString(), "x"},
                                        .standardOutput = pipe->writeEnd.get(),
                                        .standardError = {}});
    ASSERT_TRUE(orphan);
    EXPECT_EQ(orphan->waitUntilExit(), EXIT_FAILURE);
    QCoreApplication::processEvents();
    EXPECT_EQ(connections, before);
}

TEST_F(Updater, AsksNoAddressThatItMustNot) {
    const Strings refused{failed,
                          "The update address of this copy is not a secure one, so it was not "
                          "asked.",
                          "[OK]"};
    const Strings without{"This copy has no update address",
                          "This copy of Peekmend " + version + " is updated by " +
                              buildConfig::updatedBy + ".",
                          "[OK]"};

    const std::pair<QUrl, Strings> cases[] = {
        {{}, without},
        {feed("192.0.2.1"), refused},
        {feed("127.0.0.1.x.test"), refused},
        {feed("127.0.0.1", "ftp"), refused},
        {QUrl("file:///etc/hostname"), refused},
        {QUrl("data:,x"), refused},
    };
    for (const auto& [address, result] : cases) {
        auto updater = controller(address);
        updater.checkForUpdates();
        EXPECT_TRUE(await([&] { return shown() == result; })) << testing::PrintToString(shown());
        click("OK");
        EXPECT_EQ(shown(), Strings());
    }
    QCoreApplication::processEvents();
    EXPECT_EQ(connections, 0);
}

TEST_F(Updater, FollowsRedirectsButToNoAddressThatItMustNotAsk) {
    const auto redirect = [this](const QByteArray& address) {
        serve("", "302 Found\r\nLocation: " + address);
    };
    int answered = 0;
    QObject::connect(&server, &QTcpServer::newConnection, [&] {
        if (++answered == 3) {
            serve(rss(item("0.0.1")));
        }
    });
    redirect("/other");
    EXPECT_EQ(resultOfCheck(), upToDate);

    redirect(feed().toEncoded());
    EXPECT_EQ(resultOfCheck(),
              Strings({failed, "The update address leads to too many others.", "[OK]"}));
    const int before = connections;
    redirect(feed("localhost").toEncoded());
    EXPECT_EQ(resultOfCheck(),
              Strings({failed,
                       "The update address leads to another one that is not secure, so that one "
                       "was not asked.",
                       "[OK]"}));
    // What was asked before this has arrived by now.
    serve(rss(item("0.0.1")));
    EXPECT_EQ(resultOfCheck(), upToDate);
    EXPECT_EQ(connections, before + 2);
}

} // namespace
} // namespace peekmend::test
