#include "RuntimeError.h"

#include <new>

QString ProgramErrorSource()
{
    return QStringLiteral("VeltrioDNS");
}

RuntimeError::RuntimeError(int number, QString description, QString source)
    : m_number(number), m_description(std::move(description)), m_source(std::move(source)),
      m_what(m_description.toUtf8())
{}

QString RuntimeError::DescriptionOf(int number)
{
    switch (number) {
    case ErrorNumber::InvalidArgument:
        return QStringLiteral("Invalid procedure call or argument");
    case ErrorNumber::Overflow:
        return QStringLiteral("Overflow");
    case ErrorNumber::OutOfMemory:
        return QStringLiteral("Out of memory");
    case ErrorNumber::SubscriptOutOfRange:
        return QStringLiteral("Subscript out of range");
    case ErrorNumber::TypeMismatch:
        return QStringLiteral("Type mismatch");
    case ErrorNumber::PermissionDenied:
        return QStringLiteral("Permission denied");
    case ErrorNumber::PathFileAccess:
        return QStringLiteral("Path/File access error");
    default:
        return QStringLiteral("Application-defined or object-defined error");
    }
}

RuntimeError RuntimeError::Of(int number)
{
    return RuntimeError(number, DescriptionOf(number));
}

RuntimeError RuntimeError::From(const std::exception &e)
{
    if (const auto *runtime = dynamic_cast<const RuntimeError *>(&e))
        return *runtime;
    if (dynamic_cast<const std::bad_alloc *>(&e))
        return Of(ErrorNumber::OutOfMemory);
    return RuntimeError(ErrorNumber::Internal, QString::fromLocal8Bit(e.what()));
}
