#pragma once

#include <QLineEdit>
#include <cstddef>
#include <string>
#include <string_view>

namespace postkite::ui {

/// A line of text that people may change. What they left alone keeps its bytes, whatever they are: bytes that are no
/// character and control characters are shown in another form, and would not come back.
class TextField final : public QLineEdit {
    Q_OBJECT

  public:
    /// `longest` in bytes.
    explicit TextField(std::size_t longest, QWidget* parent = nullptr);

    /// Shows a text of the engine's.
    void SetBytes(std::string_view bytes);
    [[nodiscard]] bool isChanged() const { return text() != shown_; }

    /// Takes what stands there in code page 932. Empty, or why it cannot be taken, `bytes` being left alone then;
    /// `name` is what people know the field by.
    [[nodiscard]] QString Take(const QString& name, std::string& bytes) const;

  private:
    std::size_t longest_;
    std::string bytes_;
    QString shown_;
};

/// The label of a field with its access key, in the Japanese manner.
[[nodiscard]] QString WithAccessKey(const QString& label, QChar key);

/// What a label says without its access key, "(&X)" or "&".
[[nodiscard]] QString WithoutAccessKey(const QString& label);

}  // namespace postkite::ui
