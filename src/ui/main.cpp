#include <QApplication>

#include "ui/application.h"

int main(int argumentCount, char** arguments) {
    QApplication application(argumentCount, arguments);
    return postkite::ui::RunDesktop(application);
}
