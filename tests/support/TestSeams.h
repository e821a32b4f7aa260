#pragma once

#include "Seams.h"

#include <QDateTime>
#include <QList>
#include <QString>
#include <QUrl>
#include <functional>

// Replaces the program's seams for one test: message boxes are recorded and
// answered from a queue, the clock is fixed and can be moved, sleeping only
// counts, and opened pages are recorded. Everything goes back on destruction.
class TestSeams
{
public:
    struct Shown
    {
        QString text;
        Seams::Buttons buttons;
        QString title;
    };

    TestSeams()
    {
        Seams::setMessageBox(
            [this](const QString &text, Seams::Buttons buttons, const QString &title) {
                messages.append({text, buttons, title});
                if (during)
                    during(messages.last());
                if (!answers.isEmpty())
                    return answers.takeFirst();
                return buttons == Seams::Buttons::YesNo ? Seams::Answer::Yes : Seams::Answer::Ok;
            });
        Seams::setClock([this] { return now; });
        Seams::setSleep([this](int ms) { slept += ms; });
        Seams::setShellOpen([this](const QUrl &url) { opened.append(url); });
    }
    ~TestSeams() { Seams::reset(); }
    TestSeams(const TestSeams &) = delete;
    TestSeams &operator=(const TestSeams &) = delete;

    // Texts of the message boxes shown so far.
    QStringList texts() const
    {
        QStringList all;
        for (const auto &m : messages)
            all.append(m.text);
        return all;
    }

    QList<Shown> messages;
    QList<Seams::Answer> answers; // next answers, first first
    // Runs while a box is up, before it is answered: what a person leaving
    // the box open would let happen meanwhile.
    std::function<void(const Shown &)> during;
    QDateTime now = QDateTime(QDate(2026, 11, 22), QTime(14, 5, 9));
    int slept = 0;
    QList<QUrl> opened;
};
