#include "ui/WindowAccessibility.h"

#include <QAccessibleWidget>
#include <QSet>
#include <QWidget>

namespace {

QSet<QString> &windowClasses()
{
    static QSet<QString> classes;
    return classes;
}

// Asked for each class of an object, from its own class up; answers only for its own class.
QAccessibleInterface *windowFactory(const QString &className, QObject *object)
{
    if (!object || !object->isWidgetType() || !windowClasses().contains(className)
        || className != QLatin1String(object->metaObject()->className()))
        return nullptr;
    auto *widget = static_cast<QWidget *>(object);
    return widget->isWindow() ? new QAccessibleWidget(widget, QAccessible::Window) : nullptr;
}

} // namespace

namespace WindowAccessibility {

void presentAsWindow(const char *className)
{
    if (windowClasses().isEmpty())
        QAccessible::installFactory(windowFactory);
    windowClasses().insert(QString::fromLatin1(className));
}

} // namespace WindowAccessibility
