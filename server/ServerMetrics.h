#pragma once

#include <QByteArray>
#include <QString>

#include <array>
#include <atomic>
#include <functional>
#include <vector>

// What the server has done since it started, for /metrics in the Prometheus text format.
// Counters and histograms are relaxed atomics, added to without a lock by the room's thread, the
// database threads and the web server, and read whenever a scrape comes. Figures the room holds
// anyway (members online, bytes waiting) are not kept twice: a gauge asks for them at the scrape,
// which the web server handles on the room's thread.
class ServerMetrics {
public:
    class Counter {
    public:
        void add(quint64 n = 1) { m_value.fetch_add(n, std::memory_order_relaxed); }
        quint64 value() const { return m_value.load(std::memory_order_relaxed); }

    private:
        std::atomic<quint64> m_value{0};
    };

    // Durations in fixed buckets from a millisecond to ten seconds.
    class Histogram {
    public:
        static constexpr std::array<qint64, 9> UpperBoundsUs{1000,   5000,    10000,   50000,   100000,
                                                             500000, 1000000, 5000000, 10000000};
        void observe(qint64 microseconds);
        // The lines of one histogram (name_bucket, name_sum, name_count), with extra labels
        // such as `lane="reader"` or none.
        void render(QByteArray& out, const char* name, const char* labels) const;

    private:
        std::array<std::atomic<quint64>, UpperBoundsUs.size() + 1> m_buckets{}; // the last is +Inf
        std::atomic<quint64> m_sumUs{0};
    };

    enum class Refusal { Invalid, Database, Throttled };
    enum class Relayed { Public, Private };
    enum class Lane { Reader, Writer };
    // The answers the web server gives; anything else is counted as "other".
    static constexpr std::array<int, 8> WebStatuses{200, 400, 404, 408, 431, 503, 505, 0};

    Counter signOns;
    Counter& refusals(Refusal reason) { return m_refusals[size_t(reason)]; }
    Counter& relayed(Relayed kind) { return m_relayed[size_t(kind)]; }
    Histogram deliveryWait;
    Histogram& database(Lane lane) { return m_database[size_t(lane)]; }
    Counter& databaseFailures(Lane lane) { return m_databaseFailures[size_t(lane)]; }
    Counter databaseGivenUp;
    Counter& webAnswers(int status);

    // A figure read at each scrape, on the thread that renders.
    void addGauge(const char* name, const char* help, std::function<qint64()> read);

    QByteArray render() const;

private:
    struct Gauge {
        const char* name;
        const char* help;
        std::function<qint64()> read;
    };

    std::array<Counter, 3> m_refusals;
    std::array<Counter, 2> m_relayed;
    std::array<Histogram, 2> m_database;
    std::array<Counter, 2> m_databaseFailures;
    std::array<Counter, WebStatuses.size()> m_webAnswers;
    std::vector<Gauge> m_gauges;
};
