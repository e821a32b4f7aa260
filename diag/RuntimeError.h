#pragma once

#include <QByteArray>
#include <QString>
#include <exception>

// Run-time error numbers the program raises and reports.
namespace ErrorNumber {
inline constexpr int InvalidArgument = 5;
inline constexpr int Overflow = 6;
inline constexpr int OutOfMemory = 7;
inline constexpr int SubscriptOutOfRange = 9;
inline constexpr int TypeMismatch = 13;
inline constexpr int Internal = 51;
inline constexpr int PermissionDenied = 70;
inline constexpr int PathFileAccess = 75;
} // namespace ErrorNumber

// The source named by errors the program raises itself.
QString ProgramErrorSource();

// The one exception type of the program: a numbered run-time error with the
// source that raised it and a description for the user.
class RuntimeError : public std::exception
{
public:
    RuntimeError(int number, QString description, QString source = ProgramErrorSource());

    // The standard description of a number ("Type mismatch" for 13, ...).
    static QString DescriptionOf(int number);
    // A run-time error of the given number with its standard description.
    static RuntimeError Of(int number);
    // Any other exception, turned into a run-time error for reporting.
    static RuntimeError From(const std::exception &e);

    int number() const { return m_number; }
    const QString &source() const { return m_source; }
    const QString &description() const { return m_description; }
    const char *what() const noexcept override { return m_what.constData(); }

private:
    int m_number;
    QString m_description;
    QString m_source;
    QByteArray m_what;
};
