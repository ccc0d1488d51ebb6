// Feeds the chat dispatcher 100,000 lines at 1,000 lines a read (emoticons in one line of ten) and
// compares the cost of a read on a 50,000-line display with the cost on a 100-line display.
#include "FakeServices.h"

#include "app/Form1.h"
#include "common/Windows1252.h"
#include "chat/ChatDisplay.h"

#include <QApplication>
#include <QElapsedTimer>

#include <algorithm>
#include <cstdio>
#include <vector>

namespace {
constexpr int LinesPerRead = 1000;

QString makeRead(int firstLine) {
    QString read;
    for (int i = 0; i < LinesPerRead; ++i) {
        const int n = firstLine + i;
        read += QStringLiteral("MSG|\u00BF|<player%1> line %2 of the evening").arg(n % 37).arg(n);
        if (n % 10 == 0)
            read += QStringLiteral(" :) nice one ;)");
        read += QStringLiteral("\r\n");
    }
    return read;
}

double medianMs(std::vector<double> v) {
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

double timeOneRead(Form1& w, int firstLine) {
    const QString read = makeRead(firstLine);
    QElapsedTimer t;
    t.start();
    w.handleRead(read);
    return double(t.nsecsElapsed()) / 1e6;
}
} // namespace

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    TestServices t;
    Form1 w(t.services());
    w.mnuNotify->setChecked(false);
    w.show();

    // Throughput: 100,000 lines from an empty display.
    QElapsedTimer total;
    total.start();
    for (int line = 0; line < 100'000; line += LinesPerRead)
        w.handleRead(makeRead(line));
    const double seconds = double(total.nsecsElapsed()) / 1e9;
    std::printf("throughput: 100000 lines in %.2f s = %.0f lines/s\n", seconds, 100'000 / seconds);

    // Baseline: a read on a 100-line display.
    std::vector<double> small;
    for (int i = 0; i < 7; ++i) {
        w.rtb->clear();
        w.handleRead(makeRead(0).section(QStringLiteral("\r\n"), 0, 99) + QStringLiteral("\r\n"));
        small.push_back(timeOneRead(w, 1000));
    }
    // The same read on a 50,000-line display.
    w.rtb->clear();
    for (int line = 0; line < 50'000; line += LinesPerRead)
        w.handleRead(makeRead(line));
    std::vector<double> large;
    for (int i = 0; i < 7; ++i)
        large.push_back(timeOneRead(w, 50'000 + i * LinesPerRead));

    const double smallMs = medianMs(small), largeMs = medianMs(large);
    std::printf("read of 1000 lines: %.2f ms on a 100-line display, %.2f ms on a 50000-line display\n", smallMs,
                largeMs);
    std::printf("ratio large/small: %.2f (goal: below 1.5)\n", largeMs / smallMs);
    return 0;
}
