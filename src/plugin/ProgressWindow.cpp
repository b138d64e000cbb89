#include "plugin/ProgressWindow.h"

ProgressWindow::ProgressWindow(Platform& platform)
    : view(platform.makeProgressView("ProgressWindow", [this] { cancelButton(); })) {}

void ProgressWindow::setMessage(const std::string& message) {
  if (!closed) view->showMessage(message);
}

void ProgressWindow::setInformation(const std::string& information) {
  if (!closed) view->showInformation(information);
}

void ProgressWindow::setProgress(double percent) {
  if (!closed) view->showProgress(percent);
}

void ProgressWindow::bringToFront() {
  if (!closed) view->bringToFront();
}

void ProgressWindow::cancelButton() {
  cancelled = true;
  close();
}

void ProgressWindow::hideAndClose() {
  if (!closed) view->orderOut();
  close();
}

void ProgressWindow::close() {
  if (!closed.exchange(true)) view->close();
}
