#pragma once

#include <QtQml/qqmlregistration.h>
#include <QColor>
#include <QObject>
#include <QString>
#include <functional>
#include <memory>
#include <string_view>

#include "platform/qtquick/palette.h"
#include "platform/qtquick/picture_view.h"
#include "veltrane/toolkit/controls.h"
#include "veltrane/toolkit/signal.h"
#include "veltrane/toolkit/table_view.h"
#include "veltrane/ui/cells/button_table_view_cell.h"
#include "veltrane/ui/cells/dropdown_table_view_cell.h"
#include "veltrane/ui/cells/image_table_view_cell.h"
#include "veltrane/ui/cells/label_table_view_cell.h"
#include "veltrane/ui/cells/mfa_table_view_cell.h"
#include "veltrane/ui/cells/text_field_table_view_cell.h"
#include "veltrane/ui/cells/toggle_switch_table_view_cell.h"

namespace veltrane::qtquick {

/// One row as QML sees it: a view of a core cell that can be pointed at another cell of the same
/// class. It outlives its row, because delegates on their way out still read it: detached, it shows
/// what it showed last and does nothing.
class Cell : public QObject {
  Q_OBJECT
  QML_NAMED_ELEMENT(Cell)
  QML_UNCREATABLE("Rows come from the screen")
  Q_PROPERTY(bool attached READ isAttached NOTIFY changed)

 public:
  using PaletteSource = std::function<const Palette&()>;

  explicit Cell(PaletteSource palette) : palette_(std::move(palette)) {}

  /// `cell` is of the class that this item was made for.
  void attach(std::shared_ptr<TableViewCell> cell);
  void detach();
  bool isAttached() const { return attached_; }

  /// A delegate shows the row from now on, or no longer.
  void appear();
  void disappear();
  /// Something that the row shows is still on its way to a delegate.
  bool isLoading() const { return attached_ && delegates_ > 0 && cell_->isLoading(); }

 signals:
  void changed();

 protected:
  template <typename CoreCell>
  const CoreCell& as() const {
    return static_cast<const CoreCell&>(*cell_);
  }
  /// Runs `act` on the core's cell, if this item still stands for a row.
  template <typename CoreCell, typename Act>
  void whileAttached(Act act) {
    if (!attached_) return;
    const auto keep = std::static_pointer_cast<CoreCell>(cell_);
    act(*keep);
  }
  QColor textColor(const Label& label) const;
  const Palette& palette() const { return palette_(); }

 private:
  PaletteSource palette_;
  std::shared_ptr<TableViewCell> cell_;
  Subscription subscription_;
  bool attached_ = false;
  int delegates_ = 0;
};

class LabelCell : public veltrane::qtquick::Cell {
  Q_OBJECT
  QML_NAMED_ELEMENT(LabelCell)
  QML_UNCREATABLE("Rows come from the screen")
  Q_PROPERTY(QString text READ text NOTIFY changed)
  Q_PROPERTY(QColor color READ color NOTIFY changed)
  Q_PROPERTY(double fontSize READ fontSize NOTIFY changed)
  Q_PROPERTY(bool bold READ isBold NOTIFY changed)
  /// "left", "center", "right", or "" for the leading edge.
  Q_PROPERTY(QString alignment READ alignment NOTIFY changed)

 public:
  using Cell::Cell;
  QString text() const;
  QColor color() const;
  double fontSize() const;
  bool isBold() const;
  QString alignment() const;

 private:
  const Label& label() const { return as<LabelTableViewCell>().label; }
};

class ImageCell : public veltrane::qtquick::Cell {
  Q_OBJECT
  QML_NAMED_ELEMENT(ImageCell)
  QML_UNCREATABLE("Rows come from the screen")
  /// Points that the picture has, arrived or not; 0 for a row without one.
  Q_PROPERTY(double height READ height NOTIFY changed)
  Q_PROPERTY(veltrane::qtquick::PictureValue picture READ picture NOTIFY changed)

 public:
  using Cell::Cell;
  double height() const;
  PictureValue picture() const;
};

class MethodCell : public veltrane::qtquick::Cell {
  Q_OBJECT
  QML_NAMED_ELEMENT(MethodCell)
  QML_UNCREATABLE("Rows come from the screen")
  Q_PROPERTY(QString title READ title NOTIFY changed)
  Q_PROPERTY(QColor titleColor READ titleColor NOTIFY changed)
  Q_PROPERTY(QString subTitle READ subTitle NOTIFY changed)
  Q_PROPERTY(QColor subTitleColor READ subTitleColor NOTIFY changed)
  Q_PROPERTY(veltrane::qtquick::PictureValue icon READ icon NOTIFY changed)

 public:
  using Cell::Cell;
  QString title() const;
  QColor titleColor() const;
  QString subTitle() const;
  QColor subTitleColor() const;
  PictureValue icon() const;

 private:
  const MFATableViewCell& row() const { return as<MFATableViewCell>(); }
};

class ButtonCell : public veltrane::qtquick::Cell {
  Q_OBJECT
  QML_NAMED_ELEMENT(ButtonCell)
  QML_UNCREATABLE("Rows come from the screen")
  Q_PROPERTY(QString title READ title NOTIFY changed)
  Q_PROPERTY(QColor titleColor READ titleColor NOTIFY changed)
  Q_PROPERTY(QColor background READ background NOTIFY changed)
  Q_PROPERTY(double radius READ radius NOTIFY changed)

 public:
  using Cell::Cell;
  QString title() const;
  QColor titleColor() const;
  QColor background() const;
  double radius() const;
  Q_INVOKABLE void press();

 private:
  const Button& button() const { return as<ButtonTableViewCell>().button; }
};

class TextFieldCell : public veltrane::qtquick::Cell {
  Q_OBJECT
  QML_NAMED_ELEMENT(TextFieldCell)
  QML_UNCREATABLE("Rows come from the screen")
  Q_PROPERTY(QString caption READ caption NOTIFY changed)
  Q_PROPERTY(QColor captionColor READ captionColor NOTIFY changed)
  Q_PROPERTY(QString text READ text NOTIFY changed)
  Q_PROPERTY(QString placeholder READ placeholder NOTIFY changed)
  Q_PROPERTY(bool secure READ isSecure NOTIFY changed)
  Q_PROPERTY(int inputHints READ inputHints NOTIFY changed)

 public:
  using Cell::Cell;
  QString caption() const;
  QColor captionColor() const;
  QString text() const;
  QString placeholder() const;
  bool isSecure() const;
  /// `Qt::InputMethodHints`.
  int inputHints() const;
  /// The user has edited the field; `text` is its whole text.
  Q_INVOKABLE void edit(const QString& text);

 private:
  const TextField& field() const { return as<TextFieldTableViewCell>().valueTextField; }
};

class ToggleSwitchCell : public veltrane::qtquick::Cell {
  Q_OBJECT
  QML_NAMED_ELEMENT(ToggleSwitchCell)
  QML_UNCREATABLE("Rows come from the screen")
  Q_PROPERTY(QString caption READ caption NOTIFY changed)
  Q_PROPERTY(QColor captionColor READ captionColor NOTIFY changed)
  /// Of the switch as it stands: its body, and the knob that can be told from it.
  Q_PROPERTY(QColor track READ track NOTIFY changed)
  Q_PROPERTY(QColor knob READ knob NOTIFY changed)
  Q_PROPERTY(bool on READ isOn NOTIFY changed)

 public:
  using Cell::Cell;
  QString caption() const;
  QColor captionColor() const;
  QColor track() const;
  QColor knob() const;
  bool isOn() const;
  Q_INVOKABLE void toggle();

 private:
  const ToggleSwitchTableViewCell& row() const { return as<ToggleSwitchTableViewCell>(); }
};

class DropdownCell : public veltrane::qtquick::Cell {
  Q_OBJECT
  QML_NAMED_ELEMENT(DropdownCell)
  QML_UNCREATABLE("Rows come from the screen")
  Q_PROPERTY(QString caption READ caption NOTIFY changed)
  Q_PROPERTY(QColor captionColor READ captionColor NOTIFY changed)
  Q_PROPERTY(QString title READ title NOTIFY changed)
  Q_PROPERTY(bool hasChoice READ hasChoice NOTIFY changed)
  Q_PROPERTY(QColor borderColor READ borderColor NOTIFY changed)
  Q_PROPERTY(double borderWidth READ borderWidth NOTIFY changed)
  Q_PROPERTY(double radius READ radius NOTIFY changed)

 public:
  using Cell::Cell;
  QString caption() const;
  QColor captionColor() const;
  QString title() const;
  bool hasChoice() const;
  QColor borderColor() const;
  double borderWidth() const;
  double radius() const;
  Q_INVOKABLE void open();

 private:
  const DropdownTableViewCell& row() const { return as<DropdownTableViewCell>(); }
};

/// An item for a row of this cell class, not yet attached. An unknown class gets a plain `Cell`.
std::unique_ptr<Cell> makeCell(std::string_view className, Cell::PaletteSource palette);

/// How many stops a keyboard user finds in a row of this class.
bool takesFocus(std::string_view className);

}  // namespace veltrane::qtquick
