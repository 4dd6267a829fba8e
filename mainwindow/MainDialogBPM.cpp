#include "mainwindow/MainDialog.h"

void MainDialog::EditBPM(int /*row*/) {}
