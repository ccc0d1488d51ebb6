#include "common/TlsGuard.h"

#include "common/Prompts.h"

#include <QSslSocket>

TlsGuard::TlsGuard(QSslSocket& socket, TlsTrustStore& store, Prompts& prompts, QObject* parent)
    : QObject(parent)
    , m_socket(socket)
    , m_store(store)
    , m_prompts(prompts) {
    connect(&m_socket, &QSslSocket::sslErrors, this, &TlsGuard::onSslErrors);
}

void TlsGuard::onSslErrors(const QList<QSslError>& errors) {
    const QSslCertificate certificate = m_socket.peerCertificate();
    const TlsJudgement judgement = TlsTrust::judge(m_server, errors, certificate, m_store.pinned(m_server));
    if (judgement.verdict == TlsJudgement::Verdict::Trusted) {
        m_socket.ignoreSslErrors(errors);
        return;
    }
    // Qt ends the handshake once this slot returns; its error and close signals would tell the
    // owner only "handshake failed". The guard ends the connection and says why, once the socket
    // is done with it, and asks the person outside the socket's signal.
    m_socket.blockSignals(true);
    QMetaObject::invokeMethod(
        this,
        [this, judgement, fingerprint = TlsTrust::fingerprint(certificate)] {
            m_socket.abort();
            m_socket.blockSignals(false);
            if (judgement.verdict == TlsJudgement::Verdict::AskFirstUse) {
                const bool yes = m_prompts.message(QStringLiteral("Quorvel"), judgement.explanation,
                                                   Prompts::Icon::Question,
                                                   Prompts::Buttons::YesNo) == Prompts::Answer::Yes;
                if (yes && m_store.pin(m_server, fingerprint)) {
                    emit accepted();
                    return;
                }
                emit refused(QString());
                return;
            }
            emit refused(judgement.explanation);
        },
        Qt::QueuedConnection);
}
