// Asks an address for a small document. Apart from the window, which would load the network's
// libraries at every start for what few runs need.

#include <QCoreApplication>
#include <QEventLoop>
#include <QHostAddress>
#include <QNetworkAccessManager>
#include <QNetworkReply>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <expected>
#include <memory>

namespace {

/// An appcast of many versions; who reads it takes a time that grows with the square of what one
/// element may hold.
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

} // namespace

/// Prints the document, or with status 1 the sentence that says why there is none.
int main(int argumentCount, char** arguments) {
    if (argumentCount != 3) {
        std::fputs("Usage: fetch ADDRESS USER-AGENT\n", stderr);
        return 2;
    }
    const QCoreApplication application(argumentCount, arguments);
    const auto document = fetch(QUrl(QString::fromUtf8(arguments[1]), QUrl::StrictMode),
                                QString::fromUtf8(arguments[2]));
    const QByteArray said = document ? *document : document.error().toUtf8();
    std::fwrite(said.data(), 1, static_cast<std::size_t>(said.size()), stdout);
    return document && std::fflush(stdout) == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
