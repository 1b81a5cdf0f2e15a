// What most sources with windows include besides the standard library. Few of the headers of Qt: a precompiled header
// of them all is read more slowly than it helps.
#pragma once
#include "standard.h"

#include <QAction>
#include <QDialog>
#include <QLabel>
#include <QPainter>
#include <QPushButton>
#include <QVBoxLayout>
#include <QWidget>
