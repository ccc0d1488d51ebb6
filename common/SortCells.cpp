#include "common/SortCells.h"

#include "common/Clock.h"
#include "common/NumberText.h"

#include <QDateTime>

#include <cmath>

namespace SortCells {

namespace {

const QString kSortableDate = QStringLiteral("yyyy MM dd HH:mm:ss");

QString wholePart(double value) { return NumberText::general(std::floor(value)); }

std::optional<QDateTime> readDate(const QString& text, const QLocale& locale) {
    const QString trimmed = text.trimmed();
    const QString date = RegionalFormat::dateFormat(locale.dateFormat(QLocale::ShortFormat));
    const QString time = RegionalFormat::timeFormat(locale.timeFormat(QLocale::ShortFormat));
    const QStringList dateForms{date, QStringLiteral("M/d/yyyy"), QStringLiteral("d/M/yyyy"),
                                QStringLiteral("yyyy-MM-dd"), QStringLiteral("yyyy MM dd")};
    const QStringList timeForms{time, QStringLiteral("H:mm:ss"), QStringLiteral("h:mm:ss AP"),
                                QStringLiteral("H:mm")};
    for (const QString& d : dateForms) {
        const QDate onlyDate = locale.toDate(trimmed, d);
        if (onlyDate.isValid())
            return QDateTime(onlyDate, QTime(0, 0));
        for (const QString& t : timeForms) {
            const QDateTime both = locale.toDateTime(trimmed, d + u' ' + t);
            if (both.isValid())
                return both;
        }
    }
    const QDateTime iso = QDateTime::fromString(trimmed, Qt::ISODate);
    if (iso.isValid())
        return iso;
    return std::nullopt;
}

} // namespace

std::optional<Error> padNumbers(QStringList& cells) {
    QList<qsizetype> lengths(cells.size(), 0);
    qsizetype width = 0;
    for (qsizetype i = 0; i < cells.size(); ++i) {
        if (cells.at(i).isEmpty())
            continue;
        const std::optional<double> v = NumberText::value(cells.at(i));
        if (!v)
            return TypeMismatch;
        lengths[i] = wholePart(*v).size();
        width = qMax(width, lengths.at(i));
    }
    for (qsizetype i = 0; i < cells.size(); ++i) {
        if (cells.at(i).isEmpty())
            cells[i] = QStringLiteral("0");
        else if (lengths.at(i) < width)
            cells[i].prepend(QString(width - lengths.at(i), u'0'));
    }
    return std::nullopt;
}

std::optional<Error> restoreNumbers(QStringList& cells) {
    for (QString& cell : cells) {
        const std::optional<double> v = NumberText::value(cell);
        if (!v)
            return TypeMismatch;
        cell = NumberText::general(*v);
    }
    return std::nullopt;
}

std::optional<Error> datesForSorting(QStringList& cells, const QLocale& locale) {
    for (QString& cell : cells) {
        const std::optional<QDateTime> when = readDate(cell, locale);
        if (!when)
            return TypeMismatch;
        cell = when->toString(kSortableDate);
    }
    return std::nullopt;
}

std::optional<Error> generalDates(QStringList& cells, const QLocale& locale) {
    const QString date = RegionalFormat::dateFormat(locale.dateFormat(QLocale::ShortFormat));
    const QString time = RegionalFormat::timeFormat(locale.timeFormat(QLocale::ShortFormat));
    for (QString& cell : cells) {
        const QDateTime when = QDateTime::fromString(cell, kSortableDate);
        if (!when.isValid())
            return TypeMismatch;
        cell = locale.toString(when.date(), date);
        if (when.time() != QTime(0, 0))
            cell += u' ' + locale.toString(when.time(), time);
    }
    return std::nullopt;
}

} // namespace SortCells
