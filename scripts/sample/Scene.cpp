#include "scripts/sample/Scene.h"

#include <DibOperation.h>
#include <DibStream.h>

#include <cstring>
#include <new>
#include <optional>
#include <string>

namespace sample {

namespace {

constexpr double kHorizon = 0.55;

// A part of the picture: the colour at a point, or nothing outside the part.
using Layer = std::optional<Color>;

struct Point {
    double x;
    double y;
};

// The scene fits a picture of 4 : 3; wider ones show more at both sides.
struct Place {
    double sunX;
    double sunY = 0.395;
};
constexpr Place kSun{0.86};

Color skyColor(Point p) {
    const double height = clamped(1 - p.y / kHorizon);
    Color sky = mix({0.99, 0.80, 0.56}, {0.66, 0.76, 0.86}, ramp(0.0, 0.42, height));
    sky = mix(sky, {0.24, 0.45, 0.76}, ramp(0.3, 1.0, height));
    const double away = distance(p.x - kSun.sunX, p.y - kSun.sunY);
    sky = mix(sky, {1.0, 0.87, 0.58}, 0.9 / (1 + squared(away / 0.10)));
    return mix(sky, {1.0, 0.98, 0.88}, 1 - ramp(0.036, 0.040, away));
}

Color cloudedSky(Point p) {
    const double stretch = 1.5 + 3.0 * p.y;
    const auto density = [stretch](double x, double y) {
        return cloudNoise(x * 2.6 + 0.7, y * 2.6 * stretch + 4.0, 6, 11);
    };
    const double here = density(p.x, p.y);
    const double sunward = std::clamp((kSun.sunX - p.x) * 4, -1.0, 1.0);
    const double towardsSun = density(p.x + 0.02 * sunward, p.y + 0.02);
    const double cover = ramp(0.50, 0.68, here) * ramp(-0.05, 0.12, p.y) * ramp(kHorizon, 0.40, p.y);
    const double light = clamped(0.62 + (here - towardsSun) * 5.0);
    const Color lit = mix({1.0, 0.97, 0.93}, {1.0, 0.84, 0.66}, ramp(0.15, 0.5, p.y));
    const Color shaded = mix({0.62, 0.64, 0.74}, {0.72, 0.56, 0.55}, ramp(0.15, 0.5, p.y));
    const Color cloud = mix(shaded, lit, light);
    return mix(skyColor(p), cloud, cover * 0.92);
}

// Mountains, from far to near.

Layer mountains(Point p) {
    const double ridge = kHorizon - 0.10 - 0.26 * squared(cloudNoise(p.x * 2.3 + 2.9, 0.5, 6, 31)) * 1.6;
    if (p.y < ridge) return std::nullopt;
    const double below = p.y - ridge;
    const double slope = cloudNoise(p.x * 9 + p.y * 5, p.y * 14 - p.x * 3, 5, 41);
    const double sunny = ramp(0.40, 0.60, slope);
    Color rock = mix({0.42, 0.43, 0.56}, {0.70, 0.58, 0.57}, sunny);
    const double snowLine = 0.035 + 0.09 * cloudNoise(p.x * 14, p.y * 6, 4, 51);
    const double snow =
        1 - ramp(snowLine - 0.012, snowLine + 0.012, below + 1.6 * std::max(0.0, ridge - 0.27));
    rock = mix(rock, mix({0.72, 0.76, 0.88}, {1.0, 0.94, 0.88}, sunny), snow);
    return mix(rock, {0.90, 0.76, 0.66}, 0.55 * ramp(0.36, kHorizon, p.y));
}

Layer hills(Point p, double base, double size, std::uint32_t seed, Color dark, Color light, double haze) {
    const double crowns = 0.010 * cloudNoise(p.x * 70, 0, 3, seed + 9);
    const double ridge = base - size * cloudNoise(p.x * 1.9 + 0.37 * seed, 0.2, 3, seed) - crowns;
    if (p.y < ridge) return std::nullopt;
    const double texture = cloudNoise(p.x * 46, p.y * 90, 4, seed + 3);
    const double fields = cloudNoise(p.x * 5, p.y * 22, 3, seed + 5);
    const Color green = mix(dark, light, clamped(0.75 * ramp(0.32, 0.68, texture) + 0.55 * (fields - 0.4)));
    return mix(green, {0.93, 0.79, 0.62}, haze);
}

// The house, whose edges are as sharp as the picture allows.

Layer house(Point p) {
    const double x = (p.x - 0.175) / 0.135;
    const double y = (kHorizon - 0.016 - p.y) / 0.135;
    const auto within = [x, y](double left, double right, double bottom, double top) {
        return x >= left && x < right && y >= bottom && y < top;
    };
    if (within(0.18, 0.32, 0.6, 1.12))
        return Color{0.52, 0.27, 0.22} * (static_cast<int>(y * 40) % 2 == 0 ? 1.0 : 0.85);
    const double roofTop = 1.0 - 0.5 * std::fabs(x);
    const bool underRoof = y < roofTop && y >= 0;
    if (underRoof && y > roofTop - 0.16 && std::fabs(x) < 1.06 && y > 0.42) {
        const int tile = static_cast<int>(std::floor(x * 22 + (static_cast<int>(y * 34) % 2) * 0.5));
        return Color{0.66, 0.24, 0.16} * (0.85 + 0.3 * hash(tile, static_cast<int>(y * 34), 3)) *
               (x < 0 ? 0.78 : 1.0);
    }
    if (!underRoof || std::fabs(x) > 0.9) return std::nullopt;
    if (within(-0.14, 0.14, 0, 0.42))
        return x > 0.08 && y > 0.18 && y < 0.23 ? Color{0.95, 0.8, 0.3} : Color{0.16, 0.33, 0.36};
    for (const double center : {-0.52, 0.52}) {
        const double across = x - center;
        if (std::fabs(across) > 0.20 || y < 0.16 || y > 0.46) continue;
        const bool frame = std::fabs(across) > 0.165 || std::fabs(across) < 0.018 || y < 0.19 || y > 0.43 ||
                           std::fabs(y - 0.31) < 0.016;
        return frame ? Color{0.98, 0.97, 0.93}
                     : mix({0.28, 0.36, 0.46}, {1.0, 0.83, 0.45}, ramp(0.16, 0.5, y));
    }
    const bool gap = y * 14 - std::floor(y * 14) < 0.14;
    return Color{0.93, 0.88, 0.76} * (gap ? 0.86 : 1.0) * (0.80 + 0.2 * ramp(-0.9, 0.9, x));
}

Color landColor(Point p) {
    if (const Layer found = house(p)) return *found;
    if (const Layer found =
            hills(p, kHorizon + 0.006, 0.075, 61, {0.10, 0.20, 0.10}, {0.47, 0.50, 0.20}, 0.08))
        return *found;
    if (const Layer found = hills(p, kHorizon - 0.02, 0.16, 83, {0.18, 0.28, 0.20}, {0.45, 0.48, 0.28}, 0.38))
        return *found;
    if (const Layer found = mountains(p)) return *found;
    return cloudedSky(p);
}

// The boat: `up` is the height above its waterline.

Layer boat(double x, double up) {
    const double s = 0.16;
    x = (x - 0.60) / s;
    up /= s;
    const double bow = 0.62 + 0.55 * up;
    if (up >= 0 && up < 0.17 && x > -0.52 - 0.25 * up && x < bow) {
        if (up > 0.135) return Color{0.97, 0.95, 0.90};
        return mix({0.34, 0.10, 0.10}, {0.72, 0.20, 0.15}, ramp(0, 0.13, up));
    }
    if (up < 0.17 || up > 1.62) return std::nullopt;
    if (std::fabs(x - 0.02) < 0.014) return Color{0.36, 0.24, 0.15};
    const double t = (up - 0.24) / 1.34;
    if (t > 0 && t < 1) {
        const double seams = (t * 9 - std::floor(t * 9)) < 0.08 ? 0.90 : 1.0;
        const double belly = 0.09 * 4 * t * (1 - t);
        if (x < -0.01 && x > -0.60 * (1 - t) - belly) {
            return mix({0.82, 0.80, 0.80}, {1.0, 0.97, 0.90}, ramp(-0.6, 0, x)) * seams;
        }
        if (t < 0.86 && x > 0.05 && x < 0.56 * (1 - t / 0.86) + 0.05 + belly * 0.6) {
            return mix({1.0, 0.93, 0.82}, {0.86, 0.74, 0.66}, ramp(0.05, 0.5, x)) * seams;
        }
    }
    if (up > 1.52 && x > 0.03 && x < 0.22 - (up - 1.57) * (up > 1.57 ? 1.6 : -1.6))
        return Color{0.16, 0.36, 0.70};
    return std::nullopt;
}

constexpr double kWaterline = 0.715;

// Water mirrors what is above it, displaced by ripples that shrink with distance.
Color waterColor(Point p) {
    const double depth = (p.y - kHorizon) / (1 - kHorizon);
    const double scale = 1 / (0.02 + depth * 0.55);
    const double ripple = cloudNoise(p.x * 5 * scale, 22 * scale, 3, 101) +
                          cloudNoise(p.x * 9 * scale + p.y * 40, p.y * 210 * (0.3 + 0.12 * scale), 3, 103) -
                          1;
    const double shakeX = ripple * 0.020 * (0.2 + depth);
    const double shakeY = ripple * 0.075 * (0.1 + depth);
    const double mirrored = kHorizon - (p.y - kHorizon) * 0.92 + shakeY;
    Color water = landColor({p.x + shakeX, std::clamp(mirrored, 0.0, kHorizon)});
    if (p.y > kWaterline) {
        if (const Layer reflected = boat(p.x + shakeX * 2, p.y - kWaterline + shakeY * 0.5))
            water = *reflected;
    }
    const double facing = 0.20 + 0.42 * depth + 0.5 * ripple * (0.3 + 0.5 * depth);
    water = mix(water, {0.07, 0.20, 0.29}, clamped(facing));
    const double glade = 1 - ramp(0.02, 0.06 + 0.10 * depth, std::fabs(p.x - kSun.sunX + shakeX));
    const double sparkle = ramp(0.02, 0.16, ripple) * glade;
    return mix(water, {1.0, 0.90, 0.66}, 0.85 * sparkle);
}

// A board on two posts.

// A line of text in cells: letters are 5 cells wide and 7 high, and stand 6 cells apart.
class Lettering {
public:
    explicit Lettering(const std::string& text) : columns_(static_cast<int>(text.size()) * 6 - 1) {
        if (!cells_.Create(columns_, kRows, 24)) throw std::bad_alloc();
        for (int row = 0; row < kRows; ++row) std::memset(cells_.ScanLine(row), 0, cells_.GetPitch());
        // At this size a cell is a pixel.
        DibChain step;
        if (!DibParseStep(("text:" + text + ",size=10,color=#ffffff").c_str(), &step) ||
            !DibApply(&cells_, step.steps, step.stepCount))
            throw std::bad_alloc();
    }

    // `x` and `y` are from the middle of the line.
    bool isInked(double x, double y, double cell) {
        const double column = std::floor(x / cell + columns_ / 2.0);
        const double row = std::floor(y / cell + kRows / 2.0);
        return column >= 0 && column < columns_ && row >= 0 && row < kRows &&
               *cells_.Pixel(static_cast<int>(column), static_cast<int>(row)) != 0;
    }

private:
    static constexpr int kRows = 7;
    int columns_;
    DibStream cells_;
};

Layer signPost(double x, double y) {
    for (const double post : {-0.33, 0.33}) {
        const double across = (x - post) / 0.028;
        if (std::fabs(across) < 1 && y > -0.02 && y < 0.5) {
            const double grain = cloudNoise(across * 3 + post * 20, y * 9, 3, 131);
            return Color{0.47, 0.33, 0.21} * (0.55 + 0.6 * grain) * (1.0 - 0.35 * ramp(-0.2, 1, -across));
        }
    }
    return std::nullopt;
}

Layer sign(Point p) {
    const double x = (p.x - 0.31) / 0.40;
    const double y = (p.y - 0.795) / 0.40;
    if (std::fabs(x) > 0.46 || y < -0.165 || y > 0.135) return signPost(x, y);
    const bool edge = std::fabs(x) > 0.447 || y < -0.152 || y > 0.122;
    const double grain = cloudNoise(x * 6, y * 60, 4, 137);
    const Color board = mix({0.50, 0.34, 0.20}, {0.76, 0.57, 0.36}, grain);
    if (edge) return board * 0.55;
    static Lettering name("DIBSTREAM");
    static Lettering depths("1 4 8 16 24 32 BITS");
    if (name.isInked(x, y + 0.07, 0.0152)) return Color{0.99, 0.96, 0.86};
    if (depths.isInked(x, y - 0.045, 0.0070)) return Color{0.16, 0.10, 0.06};
    if (std::fabs(y - 0.088) < 0.004 && std::fabs(x) < 0.36) return Color{0.16, 0.10, 0.06};
    return board;
}

Layer meadow(Point p, double aspect) {
    const double shore = 0.925 - 0.05 * ramp(0.5, 0.0, p.x) - 0.035 * ramp(aspect - 0.7, aspect, p.x) +
                         0.02 * cloudNoise(p.x * 6, 0, 3, 151);
    // Three rows of blades, the nearest first.
    for (int row = 2; row >= 0; --row) {
        const double width = 0.0042 + 0.0016 * row;
        const double lean = (cloudNoise(p.x * 9, row * 3.0, 2, 157) - 0.5) * 0.6;
        const double root = shore + 0.035 * row;
        const double along = p.x + (root - p.y) * lean;
        const auto blade = static_cast<std::int32_t>(std::floor(along / width));
        const double tall = (0.018 + 0.034 * hash(blade, row, 163)) * (0.75 + 0.3 * row);
        const double up = (root + 0.012 - p.y) / tall;
        const double side = std::fabs(along / width - blade - 0.5) * 2;
        if (up < 1 && (up < 0 || side < 1 - up)) {
            const double tone = 0.45 + 0.55 * hash(blade, row, 167) - 0.25 * ramp(0.2, 1, side);
            const Color green =
                mix({0.07, 0.15, 0.05}, {0.42, 0.52, 0.16}, clamped(tone * ramp(-2.2, 0.9, up)));
            const bool flower = hash(blade, row, 173) > 0.975 && up > 0.55;
            return flower ? (hash(blade, row, 179) > 0.5 ? Color{0.96, 0.84, 0.30} : Color{0.93, 0.93, 0.96})
                          : green;
        }
    }
    return std::nullopt;
}

// A person who looks at the viewer. Lengths are in heads.

constexpr Color kSkinLight{0.96, 0.76, 0.61};
constexpr Color kSkinDark{0.58, 0.34, 0.26};

double ellipse(Point p, double x, double y, double rx, double ry) {
    return distance((p.x - x) / rx, (p.y - y) / ry);
}

Layer face(Point p) {
    const double jaw = p.y > 0 ? 1 - 0.20 * squared(p.y) : 1.0;
    const double edge = ellipse(p, 0, 0, 0.80 * jaw, 1.0);
    if (edge > 1) return std::nullopt;
    // Lit from the upper left like a ball, with a nose and cheeks.
    const double bulge = std::sqrt(1 - std::min(1.0, edge * edge));
    double light = 0.34 * (-p.x) - 0.24 * p.y + 0.62 * bulge + 0.14;
    light +=
        0.10 * (1 - ramp(0.0, 0.16, std::fabs(p.x + 0.02))) * ramp(-0.15, 0.1, p.y) * ramp(0.36, 0.26, p.y);
    light -= 0.13 * (1 - ramp(0.2, 1.0, ellipse(p, 0.09, 0.25, 0.12, 0.12)));
    light -= 0.10 * (1 - ramp(0.4, 1.0, ellipse(p, 0.0, 0.80, 0.36, 0.10)));
    Color skin = mix(kSkinDark, kSkinLight, clamped(light));
    for (const double cheek : {-0.40, 0.40}) {
        skin =
            mix(skin, {0.92, 0.50, 0.42}, 0.38 * (1 - ramp(0.1, 1.0, ellipse(p, cheek, 0.28, 0.24, 0.20))));
    }
    for (const double eye : {-0.30, 0.30}) {
        const double lid = ellipse(p, eye, -0.06, 0.155, 0.085);
        if (lid < 1) {
            const double iris = distance(p.x - eye - 0.01, p.y + 0.065);
            if (distance(p.x - eye + 0.015, p.y + 0.09) < 0.018) return Color{1, 1, 1};
            if (iris < 0.034) return Color{0.06, 0.05, 0.06};
            if (iris < 0.075) return mix({0.35, 0.52, 0.45}, {0.16, 0.28, 0.28}, ramp(0.03, 0.075, iris));
            return Color{0.96, 0.94, 0.92} * (0.78 + 0.22 * ramp(-0.14, -0.04, p.y));
        }
        if (lid < 1.22 && p.y < -0.06) return Color{0.22, 0.12, 0.09};
        const double brow = ellipse({p.x, p.y - 1.3 * squared(p.x - eye)}, eye, -0.27, 0.19, 0.028);
        skin = mix(skin, {0.26, 0.14, 0.08}, 0.85 * (1 - ramp(0.8, 1.1, brow)));
    }
    const double smile = p.y - 0.50 + 1.05 * squared(p.x);
    if (std::fabs(p.x) < 0.27) {
        const double thick = 0.060 * (1 - squared(p.x / 0.27));
        if (std::fabs(smile) < thick)
            skin = mix({0.72, 0.27, 0.27}, {0.86, 0.44, 0.41}, ramp(-0.03, 0.04, smile));
        if (std::fabs(smile) < 0.009) skin = {0.38, 0.12, 0.13};
    }
    return skin;
}

Layer person(Point p, double aspect) {
    constexpr double kHead = 0.135;
    p = {(p.x - (aspect - 0.235)) / kHead, (p.y - 0.715) / kHead};
    // Straw hat: a crown and a brim that curves round the head.
    const double brimY = -0.62 + 0.16 * squared(p.x / 1.5);
    const double straw = 0.98 + 0.34 * (cloudNoise(p.x * 9, (p.y - brimY) * 34, 3, 191) - 0.5);
    const bool brim =
        std::fabs(p.x) < 1.46 && std::fabs(p.y - brimY) < 0.155 * std::sqrt(1 - squared(p.x / 1.46));
    if (brim) return Color{0.94, 0.79, 0.48} * (straw * (1.0 - 0.30 * ramp(-0.06, 0.14, p.y - brimY)));
    if (p.y < -0.55 && ellipse(p, 0, -0.62, 0.80, 0.74) < 1) {
        if (p.y > -0.92 + 0.08 * squared(p.x)) return Color{0.70, 0.17, 0.20} * (0.9 - 0.25 * p.x);
        return Color{0.94, 0.79, 0.48} * (straw * (0.95 - 0.28 * p.x));
    }
    if (const Layer found = face(p)) {
        const double shadow = 1 - ramp(0.10, 0.34, p.y - brimY);
        return mix(*found, *found * 0.55, shadow);
    }
    // Hair behind the face, then neck and pullover.
    const double hairEdge = ellipse(p, 0, 0.12, 1.02 + 0.05 * cloudNoise(p.y * 4, 1, 2, 193), 1.22);
    const double strand = cloudNoise(p.x * 26 + 2 * p.y, p.y * 2.2, 3, 197);
    const Color hair = mix({0.20, 0.10, 0.05}, {0.60, 0.36, 0.18}, clamped(strand * 1.1 - 0.25 * p.x - 0.05));
    const bool neck = std::fabs(p.x) < 0.34 + 0.5 * squared(ramp(1.1, 1.5, p.y)) && p.y > 0.6 && p.y < 1.42;
    const double collar = 1.22 + 0.22 * (1 - squared(std::min(1.0, std::fabs(p.x) / 0.62)));
    if (neck && p.y < collar) {
        return mix(kSkinDark * 0.9, kSkinLight * 0.92,
                   clamped(0.75 - 0.7 * p.x - 0.5 * ramp(1.25, 0.85, p.y)));
    }
    const double shoulder = 1.22 + 0.62 * squared(p.x / 1.75) + 0.5 * squared(squared(p.x / 1.75));
    if (p.y > shoulder && std::fabs(p.x) < 1.9) {
        const double rib = 0.90 + 0.16 * cloudNoise(p.x * 3, p.y * 3, 3, 199);
        const double knit = (p.y - shoulder) * 7 - std::floor((p.y - shoulder) * 7);
        const Color wool = knit < 0.5 ? Color{0.16, 0.30, 0.52} : Color{0.93, 0.92, 0.88};
        return wool * (rib * (0.96 - 0.22 * p.x));
    }
    if (hairEdge < 1 && p.y < 1.35) return hair;
    return std::nullopt;
}

}  // namespace

Color sceneColor(double x, double y, double aspect) {
    const Point here{x, y};
    if (const Layer found = person(here, aspect)) return *found;
    if (const Layer found = sign(here)) return *found;
    if (const Layer found = meadow(here, aspect)) return *found;
    if (const Layer found = boat(x, kWaterline - y)) return *found;
    return y < kHorizon ? landColor(here) : waterColor(here);
}

}  // namespace sample
