#include "ui/LGuiTypes.h"

#include "ui/LQtConvert.h"

#include <QPainter>

// Apply saves the painter's state and Restore brings it back, so a brush never leaks into
// what is drawn after it.

void LGuiSolidBrush::Apply(QPainter& context) const
{
    context.save();
    context.setBrush(LQtConvert::ToQColor(_colour));
}

void LGuiSolidBrush::Restore(QPainter& context) const
{
    context.restore();
}

void LGuiTransparentBrush::Apply(QPainter& context) const
{
    context.save();
    context.setBrush(Qt::NoBrush);
}

void LGuiTransparentBrush::Restore(QPainter& context) const
{
    context.restore();
}

void LGuiFont::CreateFont(int height, bool bold, bool italic, bool underline, LGuiColorRef colour)
{
    _height = height;
    _weight = bold ? kWeightBold : kWeightNormal;
    _italic = italic;
    _underline = underline;
    _colour = colour;
}
