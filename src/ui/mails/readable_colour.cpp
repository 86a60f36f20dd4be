#include "ui/mails/readable_colour.h"

#include <algorithm>
#include <cmath>

namespace postkite::ui {

namespace {

float Linear(float channel) {
    return channel <= 0.04045F ? channel / 12.92F : std::pow((channel + 0.055F) / 1.055F, 2.4F);
}

float Luminance(const QColor& colour) {
    return 0.2126F * Linear(colour.redF()) + 0.7152F * Linear(colour.greenF()) +
           0.0722F * Linear(colour.blueF());
}

float Contrast(const QColor& one, const QColor& other) {
    const auto [darker, lighter] = std::minmax({Luminance(one), Luminance(other)});
    return (lighter + 0.05F) / (darker + 0.05F);
}

}  // namespace

QColor Blend(const QColor& from, const QColor& to, float part) {
    const auto between = [part](float one, float other) { return one + (other - one) * part; };
    return QColor::fromRgbF(between(from.redF(), to.redF()), between(from.greenF(), to.greenF()),
                            between(from.blueF(), to.blueF()));
}

QColor ReadableOnBase(const QColor& colour, const QPalette& palette) {
    constexpr float kEnoughContrast = 4.5F;
    constexpr int kSteps = 10;
    const QColor base = palette.color(QPalette::Base);
    const QColor text = palette.color(QPalette::Text);
    for (int step = 0; step < kSteps; ++step) {
        const QColor tried = Blend(colour, text, static_cast<float>(step) / kSteps);
        if (Contrast(tried, base) >= kEnoughContrast) return tried;
    }
    return text;
}

}  // namespace postkite::ui
