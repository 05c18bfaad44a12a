#pragma once
// Rows through a stream of the engine that gives as many as it is fed.

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Errors.h"
#include "Rows.h"
#include "Storage.h"
#include "filters/SlidingWindow.h"

template <class Stream, class Request>
class StreamedRows : public RowSource {
public:
    StreamedRows(std::unique_ptr<RowSource> rows, const char* effect, const Request& request)
        : RowSource(rows->Shape()), rows_(std::move(rows)) {
        if (!stream_.Start(request)) throw RunError(std::string(effect) + ": not enough memory");
        row_.resize(static_cast<std::size_t>(request.width) * static_cast<std::size_t>(request.channels));
    }

    const std::uint8_t* Next() override {
        while (!stream_.Take(row_.data())) static_cast<void>(stream_.Feed(rows_->Next()));
        return row_.data();
    }

private:
    std::unique_ptr<RowSource> rows_;
    Stream stream_;
    std::vector<std::uint8_t> row_;
};

// Inks as the light that they leave, and back.
std::unique_ptr<RowSource> InvertedRows(std::unique_ptr<RowSource> rows);

template <class Stream, class Request>
std::unique_ptr<RowSource> Streamed(std::unique_ptr<RowSource> rows, const char* effect, const Request& request) {
    return std::make_unique<StreamedRows<Stream, Request>>(std::move(rows), effect, request);
}

// The same where each ink of CMYK is taken as the light that it leaves.
template <class Stream, class Request>
std::unique_ptr<RowSource> StreamedAsLight(std::unique_ptr<RowSource> rows, const char* effect,
                                           const Request& request) {
    if (rows->Shape().kind != PixelKind::CMYK) return Streamed<Stream>(std::move(rows), effect, request);
    return InvertedRows(Streamed<Stream>(InvertedRows(std::move(rows)), effect, request));
}

// What all requests begin with.
template <class Request>
Request RequestFor(const ImageShape& shape) {
    const PixelKindRow& kind = Describe(shape.kind);
    Request request{};
    request.width = shape.width;
    request.height = shape.height;
    request.channels = kind.channels;
    request.hasAlpha = kind.hasAlpha;
    return request;
}

// Rows that wait within a stream: in memory, or in an image of their own that goes to scratch as others do.
ImageNeed WaitingRows(std::int64_t rows, std::int64_t rowBytes);
zor::RowStore StoreFor(const ImageNeed& need);
