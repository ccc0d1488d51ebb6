#include "common/AccessibleWindows.h"

#include <QAccessibleWidget>
#include <QWidget>

namespace AccessibleWindows {

namespace {

// Asked for each class of an object, most derived first. Only windows whose own class derives
// straight from QWidget are answered: Qt's popups, tool tips and dialogs keep their interfaces.
QAccessibleInterface* windowInterface(const QString& key, QObject* object) {
    auto* widget = qobject_cast<QWidget*>(object);
    if (!widget || !widget->isWindow() || key != QLatin1StringView(object->metaObject()->className()))
        return nullptr;
    const QMetaObject* base = object->metaObject()->superClass();
    if (base != &QWidget::staticMetaObject)
        return nullptr;
    return new QAccessibleWidget(widget, widget->windowType() == Qt::Dialog ? QAccessible::Dialog
                                                                            : QAccessible::Window);
}

} // namespace

void presentAsWindows() {
    static const bool installed = [] {
        QAccessible::installFactory(windowInterface);
        return true;
    }();
    Q_UNUSED(installed);
}

} // namespace AccessibleWindows
