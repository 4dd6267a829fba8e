#include "ui/LCoolButtonContainer.h"

#include "ui/LWindow.h"
#include "ui/LQtConvert.h"
#include "ui/LWindowImpl.h"

#include <QPainter>
#include <QWidget>

namespace {

constexpr int kCustomFontHeight = 12;  // pixels
constexpr int kPlainFontPixels = 12;
constexpr int kPressedDarkerPercent = 125;
constexpr int kHotLighterPercent = 110;

// A command number that means "nothing for this edge".
bool _Sends(int command)
{
    return command != -1 && command != 0;
}

}  // namespace

class LCoolButtonContainer::Button : public LPaintControl {
public:
    enum class Kind { kPressOnly, kUpDown, kUpDownCustom };

    Button(LCoolButtonContainer* owner, Kind kind, int upCommand, int downCommand)
        : _owner(owner), _kind(kind), _up(upCommand), _down(downCommand)
    {
        SetDimWhenDisabled(true);
    }

    bool IsHot() const { return _hot; }

    void EvLButtonDown(int, int) override
    {
        LWindow* window = GetWindow();
        if (!window) {
            return;
        }
        SetCapture(true);
        _pressing = true;
        Update();
        if (_kind == Kind::kPressOnly) {
            window->Command(GetId());
            return;
        }
        window->SetControlValue(GetId(), 1);
        if (_Sends(_down)) {
            window->Command(_down);
            window->EnableControls();
        }
    }

    // A quick second click arrives as a double-click; for a button it is another press.
    void EvDoubleClick(int x, int y) override { EvLButtonDown(x, y); }

    // Wherever the pointer is: leaving the button cancels nothing.
    void EvLButtonUp(int, int) override
    {
        LWindow* window = GetWindow();
        if (!window || !_pressing) {
            return;
        }
        _pressing = false;
        Update();
        if (_kind == Kind::kPressOnly) {
            return;
        }
        window->SetControlValue(GetId(), 0);
        if (_Sends(_up)) {
            window->Command(_up);
            window->EnableControls();
        }
    }

    void EvMouseIn() override
    {
        _hot = true;
        Update();
    }
    void EvMouseOut() override
    {
        _hot = false;
        Update();
    }

    void Paint(PaintData& data) override
    {
        if (_kind == Kind::kUpDownCustom) {
            data.font.CreateFont(kCustomFontHeight, false, false, false, data.font.GetColor());
            data.font.SetWeight(LGuiFont::kWeightNormal);
            _owner->CoolButtonCustomDraw(data, GetId());
        } else {
            _PaintPlain(data);
        }
    }

private:
    bool _LooksDown() const
    {
        LWindow* window = GetWindow();
        return _pressing || (window && window->GetControlValue(GetId()) != 0);
    }

    // The face of a plain button: the window system palette's button colours, the text centred.
    void _PaintPlain(PaintData& data) const
    {
        LWindow* window = GetWindow();
        QWidget* widget = window ? window->GetControlHandle(GetId()) : nullptr;
        if (!widget || !data.context) {
            return;
        }
        QPainter& painter = *data.context;
        const QPalette& palette = widget->palette();
        QColor face = palette.color(QPalette::Button);
        if (_LooksDown()) {
            face = face.darker(kPressedDarkerPercent);
        } else if (_hot) {
            face = face.lighter(kHotLighterPercent);
        }
        const QRect box(0, 0, GetWidth() - 1, GetHeight() - 1);
        painter.fillRect(QRect(0, 0, GetWidth(), GetHeight()), face);
        painter.setPen(palette.color(QPalette::Mid));
        painter.drawRect(box);
        LGuiFont font;
        font.CreateFont(kPlainFontPixels, false, false, false, {});
        painter.setFont(LQtConvert::ToQFont(font));
        painter.setPen(palette.color(QPalette::ButtonText));
        const LControlEntry* entry = window->_GetImpl().Find(GetId());
        if (entry && !entry->text.isEmpty()) {
            painter.drawText(box, Qt::AlignCenter | Qt::TextSingleLine,
                             painter.fontMetrics().elidedText(entry->text, Qt::ElideRight,
                                                              box.width()));
        }
    }

    LCoolButtonContainer* _owner;
    Kind _kind;
    int _up;
    int _down;
    bool _hot = false;
    bool _pressing = false;
};

LCoolButtonContainer::LCoolButtonContainer() = default;

LCoolButtonContainer::~LCoolButtonContainer() = default;

void LCoolButtonContainer::CoolButtonContainerInit(LWindow* window)
{
    _window = window;
}

void LCoolButtonContainer::_AddButton(int id, std::unique_ptr<Button> button)
{
    if (!_window || !_window->IsControlValid(id)) {
        return;
    }
    button->Init(_window, id);
    _buttons[id] = std::move(button);
}

void LCoolButtonContainer::CoolButtonInit(int id)
{
    _AddButton(id, std::make_unique<Button>(this, Button::Kind::kPressOnly, 0, 0));
}

void LCoolButtonContainer::CoolButtonInitUpDown(int id, int upCommand, int downCommand)
{
    _AddButton(id, std::make_unique<Button>(this, Button::Kind::kUpDown, upCommand, downCommand));
}

void LCoolButtonContainer::CoolButtonInitUpDownCustomDraw(int id, int upCommand, int downCommand)
{
    _AddButton(id, std::make_unique<Button>(this, Button::Kind::kUpDownCustom, upCommand,
                                            downCommand));
}

void LCoolButtonContainer::SetCoolButtonDown(int id, bool down)
{
    if (_window) {
        _window->SetControlValue(id, down ? 1 : 0);
    }
}

bool LCoolButtonContainer::IsCoolButtonDown(int id) const
{
    return _window && _window->GetControlValue(id) != 0;
}

bool LCoolButtonContainer::IsCoolButtonHot(int id) const
{
    auto it = _buttons.find(id);
    return it != _buttons.end() && it->second->IsHot();
}
