// SPDX-License-Identifier: GPL-3.0-or-later
// Asks for the name of a file to write. Main thread.
#pragma once

#include <QList>
#include <QPair>
#include <QString>

class QWidget;

namespace quill {

// As a file dialog shows it: "Comma-separated values CSV (*.csv)".
[[nodiscard]] QString NameFilter(const QString& extension, const QString& name);

// `start` is a folder or a proposed file, `formats` pairs of extension and name. A name that ends
// as one of them does, in capitals or not, stays as it was typed; behind any other the extension of
// the chosen format is put. Whether a file may be replaced is asked about that very name. Empty
// when cancelled.
[[nodiscard]] QString ChooseSaveTarget(QWidget* parent, const QString& title, const QString& start,
                                       const QList<QPair<QString, QString>>& formats);

}  // namespace quill
