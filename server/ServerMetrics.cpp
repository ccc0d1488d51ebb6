#include "server/ServerMetrics.h"

#include <algorithm>

namespace {

void header(QByteArray& out, const char* name, const char* help, const char* type) {
    out += "# HELP ";
    out += name;
    out += ' ';
    out += help;
    out += "\n# TYPE ";
    out += name;
    out += ' ';
    out += type;
    out += '\n';
}

void sample(QByteArray& out, const char* name, const QByteArray& labels, quint64 value) {
    out += name;
    if (!labels.isEmpty())
        out += '{' + labels + '}';
    out += ' ' + QByteArray::number(value) + '\n';
}

QByteArray seconds(qint64 microseconds) {
    return QByteArray::number(double(microseconds) / 1e6, 'g', 12);
}

} // namespace

void ServerMetrics::Histogram::observe(qint64 microseconds) {
    const auto bound = std::lower_bound(UpperBoundsUs.begin(), UpperBoundsUs.end(), microseconds);
    m_buckets[size_t(bound - UpperBoundsUs.begin())].fetch_add(1, std::memory_order_relaxed);
    m_sumUs.fetch_add(quint64(std::max<qint64>(microseconds, 0)), std::memory_order_relaxed);
}

void ServerMetrics::Histogram::render(QByteArray& out, const char* name, const char* labels) const {
    const QByteArray prefix = *labels ? QByteArray(labels) + ',' : QByteArray();
    const QByteArray bucket = QByteArray(name) + "_bucket";
    quint64 cumulative = 0;
    for (size_t i = 0; i < m_buckets.size(); ++i) {
        cumulative += m_buckets[i].load(std::memory_order_relaxed);
        const QByteArray le = i < UpperBoundsUs.size() ? seconds(UpperBoundsUs[i]) : QByteArray("+Inf");
        sample(out, bucket.constData(), prefix + "le=\"" + le + '"', cumulative);
    }
    out += name;
    out += "_sum";
    if (*labels)
        out += '{' + QByteArray(labels) + '}';
    out += ' ' + seconds(qint64(m_sumUs.load(std::memory_order_relaxed))) + '\n';
    sample(out, (QByteArray(name) + "_count").constData(), labels, cumulative);
}

ServerMetrics::Counter& ServerMetrics::webAnswers(int status) {
    const auto known = std::find(WebStatuses.begin(), WebStatuses.end() - 1, status);
    return m_webAnswers[size_t(known - WebStatuses.begin())];
}

void ServerMetrics::addGauge(const char* name, const char* help, std::function<qint64()> read) {
    m_gauges.push_back({name, help, std::move(read)});
}

QByteArray ServerMetrics::render() const {
    QByteArray out;
    for (const Gauge& gauge : m_gauges) {
        header(out, gauge.name, gauge.help, "gauge");
        sample(out, gauge.name, {}, quint64(std::max<qint64>(gauge.read(), 0)));
    }

    header(out, "quorvel_sign_ons_total", "Members signed on.", "counter");
    sample(out, "quorvel_sign_ons_total", {}, signOns.value());
    header(out, "quorvel_sign_on_refusals_total",
           "Sign-ons refused: INVALID (password, name or ban), database not answering, or too soon "
           "or too many from the address.",
           "counter");
    static const char* const refusalNames[] = {"invalid", "database", "throttled"};
    for (size_t i = 0; i < m_refusals.size(); ++i)
        sample(out, "quorvel_sign_on_refusals_total", QByteArray("reason=\"") + refusalNames[i] + '"',
               m_refusals[i].value());

    header(out, "quorvel_messages_relayed_total", "Public and private lines relayed.", "counter");
    sample(out, "quorvel_messages_relayed_total", "kind=\"public\"", m_relayed[0].value());
    sample(out, "quorvel_messages_relayed_total", "kind=\"private\"", m_relayed[1].value());

    header(out, "quorvel_delivery_wait_seconds",
           "For each write to a member, how long its oldest message waited in the member's queue.",
           "histogram");
    deliveryWait.render(out, "quorvel_delivery_wait_seconds", "");

    static const char* const laneLabels[] = {"lane=\"reader\"", "lane=\"writer\""};
    header(out, "quorvel_database_seconds", "Time of each database read or change, one try.", "histogram");
    for (size_t i = 0; i < m_database.size(); ++i)
        m_database[i].render(out, "quorvel_database_seconds", laneLabels[i]);
    header(out, "quorvel_database_failures_total",
           "Database tries that failed (locked, connection lost), each retried.", "counter");
    for (size_t i = 0; i < m_databaseFailures.size(); ++i)
        sample(out, "quorvel_database_failures_total", laneLabels[i], m_databaseFailures[i].value());
    header(out, "quorvel_database_given_up_total",
           "Reads and changes someone waited for, answered as failed after the patience ran out.", "counter");
    sample(out, "quorvel_database_given_up_total", {}, databaseGivenUp.value());

    header(out, "quorvel_web_requests_total", "Answers of the web port, by status.", "counter");
    for (size_t i = 0; i < WebStatuses.size(); ++i) {
        const QByteArray code = WebStatuses[i] ? QByteArray::number(WebStatuses[i]) : QByteArray("other");
        sample(out, "quorvel_web_requests_total", "code=\"" + code + '"', m_webAnswers[i].value());
    }
    return out;
}
