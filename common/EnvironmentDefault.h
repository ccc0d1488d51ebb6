#pragma once

#include <QByteArray>

// Gives an environment variable a value for a while, unless the user has set it: the user's choice
// always wins, and once restored the variable is as the user left it, so that the programs this one
// starts later never inherit the temporary value.
class EnvironmentDefault {
public:
    EnvironmentDefault(const char* name, const QByteArray& value);
    ~EnvironmentDefault() { restore(); }
    EnvironmentDefault(const EnvironmentDefault&) = delete;
    EnvironmentDefault& operator=(const EnvironmentDefault&) = delete;

    void restore();

private:
    const char* m_name;
    bool m_set = false;
};
