#include "TestCertificates.h"

#include <QFile>

#include <openssl/bio.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rand.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

#include <memory>

namespace {

template <typename T, void (*Free)(T*)> struct Deleter {
    void operator()(T* p) const { Free(p); }
};
using Key = std::unique_ptr<EVP_PKEY, Deleter<EVP_PKEY, EVP_PKEY_free>>;
using Certificate = std::unique_ptr<X509, Deleter<X509, X509_free>>;
using Bio = std::unique_ptr<BIO, Deleter<BIO, BIO_free_all>>;

QByteArray drain(BIO* bio) {
    char* data = nullptr;
    const long size = BIO_get_mem_data(bio, &data);
    return QByteArray(data, qsizetype(size));
}

Key readKey(const QByteArray& pem) {
    Bio bio(BIO_new_mem_buf(pem.constData(), int(pem.size())));
    return Key(PEM_read_bio_PrivateKey(bio.get(), nullptr, nullptr, nullptr));
}

Certificate readCertificate(const QByteArray& pem) {
    Bio bio(BIO_new_mem_buf(pem.constData(), int(pem.size())));
    return Certificate(PEM_read_bio_X509(bio.get(), nullptr, nullptr, nullptr));
}

void addExtension(X509* certificate, X509* issuer, int nid, const QString& value) {
    X509V3_CTX context;
    X509V3_set_ctx_nodb(&context);
    X509V3_set_ctx(&context, issuer, certificate, nullptr, nullptr, 0);
    X509_EXTENSION* extension = X509V3_EXT_conf_nid(nullptr, &context, nid, value.toLatin1().constData());
    if (!extension)
        qFatal("test certificate: bad extension %s", qPrintable(value));
    X509_add_ext(certificate, extension, -1);
    X509_EXTENSION_free(extension);
}

} // namespace

bool TestCertificate::write(const QString& certificatePath, const QString& keyPath) const {
    QFile certificateFile(certificatePath);
    QFile keyFile(keyPath);
    return certificateFile.open(QIODevice::WriteOnly) &&
           certificateFile.write(certificatePem) == certificatePem.size() &&
           keyFile.open(QIODevice::WriteOnly) && keyFile.write(keyPem) == keyPem.size();
}

TestCertificate TestCertificates::make(const TestCertificateRequest& request) {
    Key key(EVP_EC_gen("P-256"));
    Certificate certificate(X509_new());
    if (!key || !certificate)
        qFatal("test certificate: OpenSSL could not make a key");
    X509_set_version(certificate.get(), 2);
    unsigned char serial[8];
    RAND_bytes(serial, sizeof serial);
    serial[0] &= 0x7f;
    BIGNUM* number = BN_bin2bn(serial, sizeof serial, nullptr);
    BN_to_ASN1_INTEGER(number, X509_get_serialNumber(certificate.get()));
    BN_free(number);
    X509_gmtime_adj(X509_getm_notBefore(certificate.get()), long(request.validFromSecs));
    X509_gmtime_adj(X509_getm_notAfter(certificate.get()), long(request.validUntilSecs));
    X509_set_pubkey(certificate.get(), key.get());
    X509_NAME* name = X509_get_subject_name(certificate.get());
    X509_NAME_add_entry_by_txt(
        name, "CN", MBSTRING_UTF8,
        reinterpret_cast<const unsigned char*>(request.commonName.toUtf8().constData()), -1, -1, 0);
    Certificate issuerCertificate;
    Key issuerKey;
    if (request.issuer) {
        issuerCertificate = readCertificate(request.issuer->certificatePem);
        issuerKey = readKey(request.issuer->keyPem);
        X509_set_issuer_name(certificate.get(), X509_get_subject_name(issuerCertificate.get()));
    } else {
        X509_set_issuer_name(certificate.get(), name);
    }
    X509* signer = request.issuer ? issuerCertificate.get() : certificate.get();
    QStringList alternatives;
    for (const QString& dns : request.dnsNames)
        alternatives << QStringLiteral("DNS:") + dns;
    for (const QString& ip : request.ipAddresses)
        alternatives << QStringLiteral("IP:") + ip;
    if (!alternatives.isEmpty())
        addExtension(certificate.get(), signer, NID_subject_alt_name, alternatives.join(u','));
    addExtension(certificate.get(), signer, NID_basic_constraints,
                 request.isAuthority ? QStringLiteral("critical,CA:TRUE") : QStringLiteral("CA:FALSE"));
    addExtension(certificate.get(), signer, NID_subject_key_identifier, QStringLiteral("hash"));
    if (request.isAuthority)
        addExtension(certificate.get(), signer, NID_key_usage,
                     QStringLiteral("critical,keyCertSign,cRLSign"));
    if (X509_sign(certificate.get(), request.issuer ? issuerKey.get() : key.get(), EVP_sha256()) == 0)
        qFatal("test certificate: OpenSSL could not sign");

    Bio certificateOut(BIO_new(BIO_s_mem()));
    Bio keyOut(BIO_new(BIO_s_mem()));
    PEM_write_bio_X509(certificateOut.get(), certificate.get());
    PEM_write_bio_PrivateKey(keyOut.get(), key.get(), nullptr, nullptr, 0, nullptr, nullptr);
    return {drain(certificateOut.get()), drain(keyOut.get())};
}

TestCertificate TestCertificates::authority() {
    TestCertificateRequest request;
    request.commonName = QStringLiteral("Quorvel Test Authority");
    request.dnsNames.clear();
    request.ipAddresses.clear();
    request.isAuthority = true;
    return make(request);
}

TestCertificate TestCertificates::forLocalhost(const TestCertificate* issuer) {
    TestCertificateRequest request;
    request.issuer = issuer;
    return make(request);
}
