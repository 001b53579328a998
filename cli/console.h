// Where a command's output goes: its result to out, notes and errors to err, as UTF-8. The
// program writes them to stdout and stderr; tests keep them.
#pragma once

#include <QByteArrayView>
#include <QString>

#include <functional>

struct Console
{
    std::function<void(QByteArrayView bytes)> out;
    std::function<void(QByteArrayView bytes)> err;

    void Print(const QString& text) const { out(text.toUtf8()); }
    void PrintError(const QString& text) const { err(text.toUtf8()); }
};
