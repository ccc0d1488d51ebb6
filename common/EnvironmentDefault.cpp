#include "common/EnvironmentDefault.h"

#include <QtGlobal>

EnvironmentDefault::EnvironmentDefault(const char* name, const QByteArray& value)
    : m_name(name) {
    if (qEnvironmentVariableIsSet(name))
        return;
    m_set = qputenv(name, value);
}

void EnvironmentDefault::restore() {
    if (m_set)
        qunsetenv(m_name);
    m_set = false;
}
