#pragma once
// A page's preview: shows the latest picture its worker drew, scaled into
// the view (16:9), copied without blending.
#include <QImage>
#include <QWidget>

class PreviewView : public QWidget {
    Q_OBJECT
public:
    explicit PreviewView(QWidget* parent = nullptr);

    // The worker hands over each new picture here, on the main thread.
    Q_INVOKABLE void threadNeedsDisplay(QImage image);

    const QImage& image() const { return image_; }
    int imagesReceived() const { return imagesReceived_; }

    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override { return width * 9 / 16; }
    QSize sizeHint() const override { return {480, 270}; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QImage image_;
    int imagesReceived_ = 0;
};
