#pragma once

#include <QLineEdit>
#include <cstddef>
#include <string>
#include <string_view>

namespace postkite::ui {

/// A text of the engine's that people may change in a widget. What they left alone keeps its bytes, whatever they are:
/// bytes that are no character and control characters are shown in another form, and would not come back.
class EditedText {
  public:
    enum class Lines { One, Many };

    /// `longest` in bytes.
    EditedText(std::size_t longest, Lines lines) : longest_(longest), lines_(lines) {}

    /// `shown` is the text as the widget has it: it may have changed or cut what it was given.
    void Set(std::string_view bytes, const QString& shown);
    [[nodiscard]] bool IsChanged(const QString& text) const { return text != shown_; }

    /// Takes what stands in the widget in code page 932. Empty, or why it cannot be taken, `bytes` being left alone
    /// then; `name` is what people know the text by.
    [[nodiscard]] QString Take(const QString& text, const QString& name, std::string& bytes) const;

  private:
    std::size_t longest_;
    Lines lines_;
    std::string bytes_;
    QString shown_;
};

/// A line of such a text.
class TextField final : public QLineEdit {
    Q_OBJECT

  public:
    /// `longest` in bytes.
    explicit TextField(std::size_t longest, QWidget* parent = nullptr);

    /// Shows a text of the engine's.
    void SetBytes(std::string_view bytes);
    [[nodiscard]] bool isChanged() const { return edited_.IsChanged(text()); }

    /// As `EditedText::Take`.
    [[nodiscard]] QString Take(const QString& name, std::string& bytes) const {
        return edited_.Take(text(), name, bytes);
    }

  private:
    EditedText edited_;
};

/// The label of a field with its access key, in the Japanese manner.
[[nodiscard]] QString WithAccessKey(const QString& label, QChar key);

/// What a label says without its access key, "(&X)" or "&".
[[nodiscard]] QString WithoutAccessKey(const QString& label);

}  // namespace postkite::ui
