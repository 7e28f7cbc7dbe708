// Shows a picture in a scene, pixel by pixel as it lies in memory.
#ifndef EXAMPLES_EDITOR_PICTURE_ITEM_H
#define EXAMPLES_EDITOR_PICTURE_ITEM_H

#include <QtWidgets>

class PictureItem : public QGraphicsItem {
public:
    PictureItem() { setFlag(ItemUsesExtendedStyleOption); }  // which says what is exposed
    const QImage& image() const { return image_; }
    void setImage(const QImage& image) {
        prepareGeometryChange();
        image_ = image;
        update();
    }
    QRectF boundingRect() const override { return image_.rect(); }
    // Paints what is exposed, so that a large picture costs no more than its window.
    void paint(QPainter* painter, const QStyleOptionGraphicsItem* option, QWidget*) override {
        painter->drawImage(option->exposedRect, image_, option->exposedRect);
    }

private:
    QImage image_;
};

#endif
