// Asks for the parameters of an operation, in a form that is made from the table of operations.
#ifndef EXAMPLES_EDITOR_OPERATION_DIALOG_H
#define EXAMPLES_EDITOR_OPERATION_DIALOG_H

#include <DibOperation.h>

#include <QByteArray>
#include <QWidget>
#include <functional>

// Opens a dialog. When the user accepts it `done` gets the step: "rotate:angle=30,wrap=xy".
void askForStep(const DibOperation& operation, QWidget* parent, std::function<void(const QByteArray&)> done);

#endif
