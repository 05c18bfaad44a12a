// The operations of bench_operations by OpenCV, on one thread and matrices of 8 bits.

#include <memory>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#include <string>
#include <utility>

#include "operations/Measure.h"
#include "operations/Pictures.h"

using namespace bench;

namespace {

// Over the bytes of the picture.
cv::Mat MatrixOf(const Picture& picture) {
    return {picture.height, picture.width, CV_8UC(picture.channels), const_cast<std::uint8_t*>(picture.bytes.data())};
}

struct Source {
    Scene scene = Scene::photo;
    Layout layout = Layout::rgb;
    int width = kWidth;
    int height = kHeight;

    const Picture& picture() const { return PictureOf(scene, layout, width, height); }
};
constexpr Source kPhoto{}, kRGBA{Scene::photo, Layout::rgba}, kGray{Scene::photo, Layout::gray},
    kCMYK{Scene::photo, Layout::cmyk}, kSmall{Scene::photo, Layout::rgb, kWidth / 4, kHeight / 4};

// work(source, destination); the destination keeps its memory from run to run.
template <class Work>
Operation Into(std::string id, Source source, Work work, std::string note = "") {
    return {std::move(id), "", std::move(note), [=] {
                const cv::Mat from = MatrixOf(source.picture());
                const auto to = std::make_shared<cv::Mat>();
                return Run{[=] {
                               work(from, *to);
                               return true;
                           },
                           nullptr};
            }};
}

template <class Work>
Operation InPlace(std::string id, Source source, Work work, std::string note = "") {
    return {std::move(id), "", std::move(note), [=] {
                const auto image = std::make_shared<cv::Mat>();
                return Run{[=] {
                               work(*image);
                               return true;
                           },
                           [=] { MatrixOf(source.picture()).copyTo(*image); }};
            }};
}

Operation Resize(std::string id, Source source, int width, int height, int method, std::string note = "") {
    return Into(
        std::move(id), source,
        [=](const cv::Mat& from, cv::Mat& to) {
            cv::resize(from, to, {width, height}, 0, 0, method);
        },
        std::move(note));
}
Operation Convert(std::string id, Source source, int code, std::string note = "") {
    return Into(
        std::move(id), source, [=](const cv::Mat& from, cv::Mat& to) { cv::cvtColor(from, to, code); },
        std::move(note));
}
Operation Turn(std::string id, Source source, cv::RotateFlags way) {
    return Into(std::move(id), source, [=](const cv::Mat& from, cv::Mat& to) { cv::rotate(from, to, way); });
}
Operation Blur(std::string id, Source source, int radius) {
    return Into(std::move(id), source, [=](const cv::Mat& from, cv::Mat& to) {
        cv::blur(from, to, {2 * radius + 1, 2 * radius + 1}, {-1, -1}, cv::BORDER_REPLICATE);
    });
}

Operation Matrix(std::string id, const cv::Mat& weights) {
    return Into(std::move(id), kPhoto, [=](const cv::Mat& from, cv::Mat& to) {
        cv::filter2D(from, to, CV_8U, weights, {-1, -1}, 0, cv::BORDER_REPLICATE);
    });
}

// Tables of other contents take the same time.
Operation Table(std::string id, Source source, int channels, std::string note = "") {
    cv::Mat table(1, 256, CV_8UC(channels));
    for (int i = 0; i < 256 * channels; ++i)
        table.data[i] = static_cast<std::uint8_t>(i / channels * (3 + i % channels));
    return Into(
        std::move(id), source, [=](const cv::Mat& from, cv::Mat& to) { cv::LUT(from, table, to); }, std::move(note));
}

Operation Rotation(std::string id, Source source) {
    return Into(
        std::move(id), source,
        [](const cv::Mat& from, cv::Mat& to) {
            const cv::Rect2f box = cv::RotatedRect({}, cv::Size2f(kWidth, kHeight), 30).boundingRect2f();
            cv::Mat turn = cv::getRotationMatrix2D({kWidth / 2.0F, kHeight / 2.0F}, 30, 1);
            turn.at<double>(0, 2) += (box.width - kWidth) / 2.0;
            turn.at<double>(1, 2) += (box.height - kHeight) / 2.0;
            cv::warpAffine(from, to, turn, {static_cast<int>(box.width) + 1, static_cast<int>(box.height) + 1},
                           cv::INTER_LINEAR, cv::BORDER_CONSTANT, cv::Scalar::all(255));
        },
        "bilinear, in one step");
}

}  // namespace

int main(int argc, char** argv) {
    cv::setNumThreads(1);
    const auto setColour = [](cv::Mat& image) { image.setTo(cv::Scalar(10, 20, 30, 255)); };
    const auto setNoise = [](cv::Mat& image) { cv::randu(image, cv::Scalar::all(0), cv::Scalar::all(256)); };
    const std::string direct = "cubic through four pixels", toDest = "into another picture";
    const std::vector<Operation> all{
        Resize("scale/cubic-up", kSmall, kWidth, kHeight, cv::INTER_CUBIC, direct),
        Resize("scale/poly3-up", kSmall, kWidth, kHeight, cv::INTER_CUBIC),
        Resize("scale/lanczos3-up", kSmall, kWidth, kHeight, cv::INTER_LANCZOS4, "lanczos of eight pixels"),
        Resize("scale/triangle-up", kSmall, kWidth, kHeight, cv::INTER_LINEAR),
        Resize("scale/box-quarter", kPhoto, kWidth / 4, kHeight / 4, cv::INTER_AREA),
        Resize("scale/nearest-half", kPhoto, kWidth / 2, kHeight / 2, cv::INTER_NEAREST),
        Resize("scale/nearest-up", kSmall, kWidth, kHeight, cv::INTER_NEAREST),
        Resize("scale/nearest-half-rgba", kRGBA, kWidth / 2, kHeight / 2, cv::INTER_NEAREST),
        Resize("scale/nearest-half-gray", kGray, kWidth / 2, kHeight / 2, cv::INTER_NEAREST),
        Blur("blur/box-5", kPhoto, 5),
        Blur("blur/box-50", kPhoto, 50),
        Blur("blur/box-500", kPhoto, 500),
        Blur("blur/box-5-rgba", kRGBA, 5),
        Blur("blur/box-5-gray", kGray, 5),
        Into("blur/fractional", kPhoto,
             [](const cv::Mat& from, cv::Mat& to) {
                 const cv::Mat taps = (cv::Mat_<float>(1, 3) << 0.25F, 0.5F, 0.25F);
                 cv::sepFilter2D(from, to, CV_8U, taps, taps, {-1, -1}, 0, cv::BORDER_REPLICATE);
             }),
        Matrix("matrix/3x3", (cv::Mat_<float>(3, 3) << -1, -1, -1, -1, 9, -1, -1, -1, -1)),
        Matrix("matrix/3x3-divided", (cv::Mat_<float>(3, 3) << 1, 2, 1, 2, 4, 2, 1, 2, 1) / 16),
        Matrix("matrix/5x5", (cv::Mat_<float>(5, 5) << 0, 0, -1, 0, 0, 0, -1, -2, -1, 0, -1, -2, 17, -2, -1, 0, -1, -2,
                              -1, 0, 0, 0, -1, 0, 0)),
        Matrix("matrix/5x5-divided", (cv::Mat_<float>(5, 5) << 1, 4, 6, 4, 1, 4, 16, 24, 16, 4, 6, 24, 36, 24, 6, 4, 16,
                                      24, 16, 4, 1, 4, 6, 4, 1) /
                                         256),
        {"unsharp/rgb", "", "without a threshold",
         [] {
             const cv::Mat from = MatrixOf(kPhoto.picture());
             const auto blurred = std::make_shared<cv::Mat>(), to = std::make_shared<cv::Mat>();
             cv::blur(from, *blurred, {5, 5});
             return Run{[=] {
                            cv::addWeighted(from, 3, *blurred, -2, 0, *to);
                            return true;
                        },
                        nullptr};
         }},
        Table("tone/gamma", kPhoto, 1),
        Table("tone/gamma-by-channel", kPhoto, 3),
        Table("tone/gamma-rgba", kRGBA, 4),
        Table("tone/gain", kPhoto, 1),
        Table("tone/solarize", kPhoto, 1),
        Into(
            "tone/engrave", kPhoto,
            [](const cv::Mat& from, cv::Mat& to) {
                const cv::Mat relief = (cv::Mat_<float>(3, 3) << 0, 0, 0, 0, 1, 0, 0, 0, -1);
                cv::filter2D(from, to, CV_8U, relief, {-1, -1}, 128, cv::BORDER_REPLICATE);
            },
            "as a convolution"),
        Into("turn/mirror", kPhoto, [](const cv::Mat& from, cv::Mat& to) { cv::flip(from, to, 1); }, toDest),
        Into("turn/mirror-rgba", kRGBA, [](const cv::Mat& from, cv::Mat& to) { cv::flip(from, to, 1); }, toDest),
        Into("turn/mirror-gray", kGray, [](const cv::Mat& from, cv::Mat& to) { cv::flip(from, to, 1); }, toDest),
        Into("turn/flip", kPhoto, [](const cv::Mat& from, cv::Mat& to) { cv::flip(from, to, 0); }, toDest),
        Turn("turn/180", kPhoto, cv::ROTATE_180),
        InPlace("turn/180-in-place", kPhoto, [](cv::Mat& image) { cv::flip(image, image, -1); }),
        Turn("turn/90", kPhoto, cv::ROTATE_90_COUNTERCLOCKWISE),
        Turn("turn/270", kPhoto, cv::ROTATE_90_CLOCKWISE),
        Turn("turn/90-rgba", kRGBA, cv::ROTATE_90_COUNTERCLOCKWISE),
        Turn("turn/90-gray", kGray, cv::ROTATE_90_COUNTERCLOCKWISE),
        Rotation("turn/30", kPhoto),
        Rotation("turn/30-gray", kGray),
        InPlace("fill/clear", kPhoto, [](cv::Mat& image) { image.setTo(cv::Scalar::all(0)); }),
        InPlace("fill/value", kPhoto, [](cv::Mat& image) { image.setTo(cv::Scalar::all(7)); }),
        InPlace("fill/colour", kPhoto, setColour),
        InPlace("fill/colour-rgba", kRGBA, setColour, "alpha too"),
        InPlace("fill/invert", kPhoto, [](cv::Mat& image) { cv::bitwise_not(image, image); }),
        InPlace("fill/invert-cmyk", kCMYK, [](cv::Mat& image) { cv::bitwise_not(image, image); }),
        {"fill/lay-over", "", "the colour as a picture of its own",
         [] {
             const auto image = std::make_shared<cv::Mat>();
             const cv::Mat colour(kHeight, kWidth, CV_8UC3, cv::Scalar(200, 20, 30));
             return Run{[=] {
                            cv::addWeighted(*image, 0.6, colour, 0.4, 0, *image);
                            return true;
                        },
                        [=] { MatrixOf(kPhoto.picture()).copyTo(*image); }};
         }},
        InPlace("fill/random", kPhoto, setNoise, "another generator"),
        Into("copy/rgb-to-rgb", kPhoto, [](const cv::Mat& from, cv::Mat& to) { from.copyTo(to); }),
        Convert("copy/rgb-to-bgr", kPhoto, cv::COLOR_RGB2BGR),
        Convert("copy/rgb-to-gray", kPhoto, cv::COLOR_RGB2GRAY),
        Convert("copy/rgb-to-rgba", kPhoto, cv::COLOR_RGB2RGBA, "fills alpha"),
        Convert("copy/gray-to-rgb", kGray, cv::COLOR_GRAY2RGB),
        Convert("copy/rgba-to-bgra", kRGBA, cv::COLOR_RGBA2BGRA),
        Convert("copy/rgba-to-rgb", kRGBA, cv::COLOR_RGBA2RGB),
        Convert("copy/rgba-to-gray", kRGBA, cv::COLOR_RGBA2GRAY),
        Into("copy/cmyk-to-kymc", kCMYK,
             [](const cv::Mat& from, cv::Mat& to) {
                 to.create(from.size(), from.type());
                 constexpr int kOrder[] = {0, 3, 1, 2, 2, 1, 3, 0};
                 cv::mixChannels(&from, 1, &to, 1, kOrder, 4);
             }),
    };
    return RunOperations({"OpenCV", CV_VERSION}, all, argc, argv);
}
