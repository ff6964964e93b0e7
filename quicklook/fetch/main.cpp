// Asks for the appcast. Apart from the window, which would load the network's libraries at every
// start for what few runs need.

#include <QByteArray>
#include <QCoreApplication>
#include <QEventLoop>
#include <QHostAddress>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QString>
#include <QUrl>

#include <poll.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <expected>
#include <memory>
#include <utility>

namespace {

/// An appcast of many versions.
constexpr qint64 documentLimit = qint64{64} * 1024;
constexpr std::chrono::seconds longestSilence(20);
constexpr int mostRedirects = 5;

bool mayBeAsked(const QUrl& address) {
    return address.scheme() == QLatin1String("https") ||
           (address.scheme() == QLatin1String("http") && QHostAddress(address.host()).isLoopback());
}

/// What one address answers: a document, or another address to ask.
struct Answer {
    QByteArray document;
    QUrl target;
};

/// Fails with a sentence that says why there is no answer.
std::expected<Answer, QString> ask(QNetworkAccessManager& network, const QUrl& address,
                                   const QString& userAgent) {
    QNetworkRequest request(address);
    // Each address is looked at before it is asked.
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute,
                         QNetworkRequest::ManualRedirectPolicy);
    request.setAttribute(QNetworkRequest::CookieLoadControlAttribute, QNetworkRequest::Manual);
    request.setHeader(QNetworkRequest::UserAgentHeader, userAgent);
    const std::unique_ptr<QNetworkReply> reply(network.get(request));
    Answer answer;
    const auto read = [&] {
        if (!reply->isOpen()) {
            return;
        }
        answer.document += reply->read(documentLimit + 1 - answer.document.size());
        if (answer.document.size() > documentLimit) {
            reply->abort();
        }
    };
    QEventLoop loop;
    QObject::connect(reply.get(), &QNetworkReply::readyRead, read);
    QObject::connect(reply.get(), &QNetworkReply::finished, &loop, &QEventLoop::quit);
    if (!reply->isFinished()) {
        loop.exec();
    }
    read();

    if (answer.document.size() > documentLimit) {
        return std::unexpected("The answer is too long for an appcast.");
    }
    const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    if (reply->error() != QNetworkReply::NoError) {
        // The server's own words are not passed on.
        return std::unexpected(status != 0
                                   ? QString("The server answered with the status %1.").arg(status)
                                   : reply->errorString());
    }
    const QUrl target = reply->attribute(QNetworkRequest::RedirectionTargetAttribute).toUrl();
    if (!target.isEmpty()) {
        answer.target = reply->url().resolved(target);
    }
    return answer;
}

std::expected<QByteArray, QString> fetch(const QUrl& address, const QString& userAgent) {
    if (!mayBeAsked(address)) {
        return std::unexpected(
            "The update address of this copy is not a secure one, so it was not asked.");
    }
    QNetworkAccessManager network;
    network.setTransferTimeout(static_cast<int>(std::chrono::milliseconds(longestSilence).count()));
    QUrl next = address;
    for (int redirects = 0; redirects <= mostRedirects; ++redirects) {
        auto answer = ask(network, next, userAgent);
        if (!answer) {
            return std::unexpected(std::move(answer.error()));
        }
        if (answer->target.isEmpty()) {
            return std::move(answer->document);
        }
        if (!mayBeAsked(answer->target)) {
            return std::unexpected("The update address leads to another one that is not secure, "
                                   "so that one was not asked.");
        }
        next = answer->target;
    }
    return std::unexpected("The update address leads to too many others.");
}

/// Ends this program with whoever started it. One who is gone already reads no more from the pipe.
void endWithParent() {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    pollfd output{.fd = STDOUT_FILENO, .events = 0, .revents = 0};
    if (::poll(&output, 1, 0) > 0) {
        std::_Exit(EXIT_FAILURE);
    }
}

} // namespace

/// Prints the document, or with status 1 the sentence that says why there is none. Status 2 where
/// it was not used so, or could not print.
int main(int argumentCount, char** arguments) {
    if (argumentCount != 3) {
        std::fputs("Usage: fetch ADDRESS USER-AGENT\n", stderr);
        return 2;
    }
    endWithParent();
    const QCoreApplication application(argumentCount, arguments);
    const auto document = fetch(QUrl(QString::fromUtf8(arguments[1]), QUrl::StrictMode),
                                QString::fromUtf8(arguments[2]));
    const QByteArray said = document ? *document : document.error().toUtf8();
    const auto size = static_cast<std::size_t>(said.size());
    const bool isSaid =
        std::fwrite(said.data(), 1, size, stdout) == size && std::fflush(stdout) == 0;
    // The application's end would wait for a name to be looked up by a server that is silent.
    std::_Exit(!isSaid ? 2 : document ? EXIT_SUCCESS : EXIT_FAILURE);
}
