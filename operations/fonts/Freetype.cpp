// Letters by FreeType. Outlines are drawn where the picture shows them, so that large text costs no more
// memory than the rows that are asked for.
#include <freetype/freetype.h>
#include <freetype/ftglyph.h>
#include <freetype/ftoutln.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <map>
#include <type_traits>
#include <vector>

#include "dib/Bytes.h"
#include "dib/File.h"
#include "dib/Numbers.h"
#include "operations/Refusal.h"
#include "operations/fonts/Font.h"
#include "operations/fonts/Utf8.h"

namespace operations {

namespace {

constexpr std::int64_t kLargestFile = std::int64_t{256} << 20;
constexpr int kLargestSize = 10000;  // of letters, in pixels
constexpr std::int64_t kBandRows = 64;
constexpr std::int64_t kMostColumns = 32000;  // drawn at once: FreeType counts them in 16 bits
constexpr int kFractions = 64;                // of a pixel, in positions

template <auto function>
struct Release {
    template <class T>
    void operator()(T* object) const {
        function(object);
    }
};
template <class Handle, auto function>
using Owned = std::unique_ptr<std::remove_pointer_t<Handle>, Release<function>>;
using LibraryPtr = Owned<FT_Library, FT_Done_FreeType>;
using FacePtr = Owned<FT_Face, FT_Done_Face>;
using GlyphPtr = Owned<FT_Glyph, FT_Done_Glyph>;

[[noreturn]] void refuse(DibErrorCode code, const std::string& why) { throw Refusal{code, "font: " + why}; }

// Whatever FreeType has made has an owner before this is called: it may throw for memory.
void check(FT_Error error, const std::string& what) {
    if (error == FT_Err_Ok) return;
    if (error == FT_Err_Out_Of_Memory) throw Refusal{DIB_ERROR_MEMORY, kNoMemory};
    refuse(DIB_ERROR_INVALID, what + " (error " + std::to_string(error) + " of FreeType)");
}

std::int64_t wholePixels(std::int64_t position) { return position >> 6; }
std::int64_t wholePixelsUp(std::int64_t position) { return wholePixels(position + kFractions - 1); }

struct Box {
    std::int64_t left = 0;
    std::int64_t top = 0;
    std::int64_t right = 0;
    std::int64_t bottom = 0;

    bool isEmpty() const { return left >= right || top >= bottom; }
    void include(const Box& other) {
        left = std::min(left, other.left);
        top = std::min(top, other.top);
        right = std::max(right, other.right);
        bottom = std::max(bottom, other.bottom);
    }
};

// A letter of a size. Its outline counts from the line that letters stand on, upwards.
struct Letter {
    GlyphPtr glyph;            // null: it has no ink
    std::int64_t advance = 0;  // to the next one, in fractions

    FT_Outline& outline() const { return reinterpret_cast<FT_OutlineGlyph>(glyph.get())->outline; }
};

struct PlacedLetter {
    const Letter* letter;
    std::int64_t x;         // in fractions, from the left edge
    std::int64_t baseline;  // pixels from the upper edge

    // The pixels that its ink touches.
    Box box() const {
        if (letter->glyph == nullptr) return {};
        FT_BBox ink;
        FT_Outline_Get_CBox(&letter->outline(), &ink);
        return {wholePixels(x + ink.xMin), baseline - wholePixelsUp(ink.yMax), wholePixelsUp(x + ink.xMax),
                baseline - wholePixels(ink.yMin)};
    }
};

// Rows of covered shares, of some pixels of each.
class Band {
public:
    Band() = default;
    explicit Band(const Box& box) : box_(box), shares_(dib::asSize(rowSize() * (box.bottom - box.top))) {}

    bool shows(std::int64_t x, std::int64_t y, std::int64_t count) const {
        return x == box_.left && x + count == box_.right && y >= box_.top && y < box_.bottom;
    }
    const std::uint8_t* row(std::int64_t y) const {
        return &shares_[dib::asSize((y - box_.top) * rowSize())];
    }

    void draw(FT_Library library, const PlacedLetter& letter) {
        const Box ink = letter.box();
        const Box seen = {std::max(ink.left, box_.left), std::max(ink.top, box_.top),
                          std::min(ink.right, box_.right), std::min(ink.bottom, box_.bottom)};
        if (seen.isEmpty()) return;
        for (std::int64_t left = seen.left; left < seen.right; left += kMostColumns)
            drawPart(library, letter,
                     {left, seen.top, std::min(left + kMostColumns, seen.right), seen.bottom});
    }

private:
    std::int64_t rowSize() const { return box_.right - box_.left; }

    // Where the part that is drawn starts in the band: FreeType counts its columns from there, and its rows
    // upwards from the lower edge.
    struct Target {
        Band* band;
        const Box* part;
    };

    static void addSpans(int y, int count, const FT_Span* spans, void* user) {
        const auto* target = static_cast<const Target*>(user);
        Band& band = *target->band;
        const std::int64_t row = target->part->bottom - 1 - y - band.box_.top;
        const std::int64_t start = row * band.rowSize() + target->part->left - band.box_.left;
        for (const FT_Span* span = spans; span != spans + count; ++span) {
            std::uint8_t* share = &band.shares_[dib::asSize(start + span->x)];
            for (int i = 0; i < span->len; ++i, ++share)
                *share = dib::byteOf(std::min(*share + span->coverage, 255));
        }
    }

    void drawPart(FT_Library library, const PlacedLetter& letter, const Box& part) {
        FT_Outline& outline = letter.letter->outline();
        const auto across = static_cast<FT_Pos>(letter.x - part.left * kFractions);
        const auto up = static_cast<FT_Pos>((part.bottom - letter.baseline) * kFractions);
        Target target = {this, &part};
        FT_Raster_Params params = {};
        params.flags = FT_RASTER_FLAG_AA | FT_RASTER_FLAG_DIRECT | FT_RASTER_FLAG_CLIP;
        params.gray_spans = addSpans;
        params.user = &target;
        params.clip_box = {0, 0, static_cast<FT_Pos>(part.right - part.left),
                           static_cast<FT_Pos>(part.bottom - part.top)};
        FT_Outline_Translate(&outline, across, up);
        const FT_Error error = FT_Outline_Render(library, &outline, &params);
        FT_Outline_Translate(&outline, -across, -up);
        check(error, "a letter cannot be drawn");
    }

    Box box_;
    std::vector<std::uint8_t> shares_;
};

class FontLettering : public Lettering {
public:
    // The letters lie in `box`, which may be wider than the ink.
    FontLettering(FT_Library library, std::vector<PlacedLetter> letters, Box box)
        : library_(library), letters_(std::move(letters)) {
        for (const PlacedLetter& letter : letters_) box.include(letter.box());
        for (PlacedLetter& letter : letters_) {
            letter.x -= box.left * kFractions;
            letter.baseline -= box.top;
        }
        width_ = box.right - box.left;
        height_ = box.bottom - box.top;
        if (std::max(width_, height_) > INT_MAX) throw Refusal{DIB_ERROR_MEMORY, kNoMemory};
    }

    void cover(std::int64_t x, std::int64_t y, std::size_t count, std::uint8_t* shares) override {
        if (!band_.shows(x, y, dib::asOffset(count))) {
            band_ = Band({x, y, x + dib::asOffset(count), y + kBandRows});
            for (const PlacedLetter& letter : letters_) band_.draw(library_, letter);
        }
        std::memcpy(shares, band_.row(y), count);
    }

private:
    FT_Library library_;
    std::vector<PlacedLetter> letters_;
    Band band_;
};

class FreetypeFont : public Font {
public:
    explicit FreetypeFont(const std::string& file) : bytes_(readFile(file)) {
        FT_Library library = nullptr;
        const FT_Error notStarted = FT_Init_FreeType(&library);
        library_.reset(notStarted == FT_Err_Ok ? library : nullptr);
        check(notStarted, "FreeType does not start");
        FT_Face face = nullptr;
        const FT_Error error =
            FT_New_Memory_Face(library, bytes_.data(), static_cast<FT_Long>(bytes_.size()), 0, &face);
        face_.reset(error == FT_Err_Ok ? face : nullptr);
        if (error == FT_Err_Unknown_File_Format)
            refuse(DIB_ERROR_UNSUPPORTED, quoted(file) + " is not a font that FreeType reads");
        check(error, quoted(file) + " is damaged");
        if (!FT_IS_SCALABLE(face))
            refuse(DIB_ERROR_UNSUPPORTED, quoted(file) + " has letters of fixed sizes, not outlines");
    }

    std::unique_ptr<Lettering> write(std::string_view text, int size, int align) override {
        setSize(size);
        const FT_Size_Metrics& metrics = face_->size->metrics;
        const std::int64_t step = std::max<std::int64_t>(wholePixelsUp(metrics.height), 1);
        std::vector<PlacedLetter> letters;
        std::vector<std::pair<std::size_t, std::int64_t>>
            lines;  // the end of each in `letters`, and its width
        for (std::size_t start = 0; start <= text.size();) {
            const std::size_t end = std::min(text.find('\n', start), text.size());
            const auto baseline = dib::asSigned(lines.size()) * step;
            const std::int64_t length = addLine(text.substr(start, end - start), baseline, letters);
            lines.emplace_back(letters.size(), length);
            start = end + 1;
        }
        std::int64_t widest = 0;
        for (const auto& [end, length] : lines) widest = std::max(widest, length);
        std::size_t i = 0;
        for (const auto& [end, length] : lines) {
            for (; i < end; ++i) letters[i].x += (widest - length) * align / 2;
        }
        const Box box = {0, -wholePixelsUp(metrics.ascender), wholePixelsUp(widest),
                         dib::asSigned(lines.size() - 1) * step - wholePixels(metrics.descender)};
        return std::make_unique<FontLettering>(library_.get(), std::move(letters), box);
    }

private:
    static std::vector<FT_Byte> readFile(const std::string& file) {
        errno = 0;
        const dib::FilePtr stream = dib::openForReading(file.c_str());
        if (stream == nullptr)
            refuse(DIB_ERROR_OPEN, quoted(file) + " cannot be opened: " + std::strerror(errno));
        const std::int64_t size = dib::sizeOnDisk(stream.get());
        if (size < 0 || size > kLargestFile)
            refuse(DIB_ERROR_READ, quoted(file) + " is empty, too large or no file on a disk");
        std::vector<FT_Byte> bytes(dib::asSize(size));
        if (!dib::readBytes(stream.get(), bytes.data(), bytes.size()))
            refuse(DIB_ERROR_READ, quoted(file) + " cannot be read");
        return bytes;
    }

    void setSize(int size) {
        if (size == size_) return;
        if (size > kLargestSize)
            refuse(DIB_ERROR_MISMATCH,
                   "its letters have " + std::to_string(kLargestSize) + " pixels at most");
        size_ = 0;
        letters_.clear();
        check(FT_Set_Pixel_Sizes(face_.get(), 0, dib::asUnsigned(size)), "it has no such size");
        size_ = size;
    }

    // Letters stay until the size changes.
    const Letter& letterOf(FT_UInt index) {
        const auto found = letters_.find(index);
        if (found != letters_.end()) return found->second;
        constexpr FT_Int32 kHow = FT_LOAD_NO_BITMAP | FT_LOAD_TARGET_LIGHT;
        check(FT_Load_Glyph(face_.get(), index, kHow), "a letter is damaged");
        const FT_GlyphSlot slot = face_->glyph;
        Letter letter;
        // Of 16 fractional bits.
        letter.advance = (std::int64_t{slot->linearHoriAdvance} + 512) >> 10;
        if (slot->format == FT_GLYPH_FORMAT_OUTLINE && slot->outline.n_points > 0) {
            FT_Glyph glyph = nullptr;
            const FT_Error error = FT_Get_Glyph(slot, &glyph);
            letter.glyph.reset(error == FT_Err_Ok ? glyph : nullptr);
            check(error, "a letter is damaged");
        }
        return letters_.emplace(index, std::move(letter)).first->second;
    }

    std::int64_t kerning(FT_UInt left, FT_UInt right) const {
        FT_Vector delta = {0, 0};
        if (left == 0 || FT_Get_Kerning(face_.get(), left, right, FT_KERNING_UNFITTED, &delta) != FT_Err_Ok)
            return 0;
        return delta.x;
    }

    // Returns the length of the line.
    std::int64_t addLine(std::string_view line, std::int64_t baseline, std::vector<PlacedLetter>& letters) {
        std::int64_t x = 0;
        FT_UInt before = 0;
        while (!line.empty()) {
            const char32_t character = takeCharacter(line);
            if (character == U'\r') continue;
            const FT_UInt index = FT_Get_Char_Index(face_.get(), character);
            const Letter& letter = letterOf(index);
            x += kerning(before, index);
            letters.push_back({&letter, x, baseline});
            x += letter.advance;
            before = index;
        }
        return x;
    }

    std::vector<FT_Byte> bytes_;
    LibraryPtr library_;
    FacePtr face_;
    std::map<FT_UInt, Letter> letters_;
    int size_ = 0;
};

}  // namespace

std::unique_ptr<Font> openFont(const std::string& file) { return std::make_unique<FreetypeFont>(file); }

}  // namespace operations
