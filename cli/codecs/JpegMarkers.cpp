#include "codecs/JpegMarkers.h"

#include <cstring>
#include <string>

#include "codecs/Iptc.h"
#include "codecs/TextBytes.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

// What stands at the start of a part and names it, with the zeros that belong to it.
constexpr char kExif[] = "Exif\0";  // and one more zero
constexpr char kXmp[] = "http://ns.adobe.com/xap/1.0/";
constexpr char kSecondXmp[] = "http://ns.adobe.com/xmp/extension/";
constexpr char kPhotoshop[] = "Photoshop 3.0";

template <std::size_t kSize>
bool Begins(const jpeg_marker_struct& marker, const char (&name)[kSize]) {
    return marker.data_length > kSize && std::memcmp(marker.data, name, kSize) == 0;
}

template <std::size_t kSize>
void Append(const jpeg_marker_struct& marker, const char (&)[kSize], Bytes* bytes) {
    bytes->insert(bytes->end(), marker.data + kSize, marker.data + marker.data_length);
}

template <std::size_t kSize>
JpegMarker Named(int number, const char (&name)[kSize], const Bytes& bytes) {
    JpegMarker marker{number, {name, name + kSize}};
    marker.bytes.insert(marker.bytes.end(), bytes.begin(), bytes.end());
    return marker;
}

}  // namespace

bool TakeJpegMarkers(const jpeg_marker_struct* first, Metadata* metadata) {
    bool more = false;
    Bytes photoshop;  // which may be spread over several
    for (const jpeg_marker_struct* marker = first; marker != nullptr; marker = marker->next) {
        if (marker->marker == JPEG_APP0 + 1) {
            if (Begins(*marker, kExif) && metadata->exif.empty()) Append(*marker, kExif, &metadata->exif);
            if (Begins(*marker, kXmp) && metadata->xmp.empty()) Append(*marker, kXmp, &metadata->xmp);
            more = more || Begins(*marker, kSecondXmp);
        } else if (marker->marker == JPEG_APP0 + 13) {
            if (Begins(*marker, kPhotoshop)) Append(*marker, kPhotoshop, &photoshop);
        } else if (marker->marker == JPEG_COM) {
            std::string text = TextOfBytes(marker->data, marker->data_length);
            if (!text.empty()) metadata->texts.push_back({kCommentKeyword, std::move(text), {}, {}});
        }
    }
    metadata->iptc = IptcOfPhotoshop(photoshop);
    return more;
}

std::vector<JpegMarker> JpegMarkersOf(const Metadata& metadata) {
    std::vector<JpegMarker> markers;
    if (!metadata.exif.empty()) markers.push_back(Named(JPEG_APP0 + 1, kExif, metadata.exif));
    if (!metadata.xmp.empty()) markers.push_back(Named(JPEG_APP0 + 1, kXmp, metadata.xmp));
    if (!metadata.iptc.empty()) markers.push_back(Named(JPEG_APP0 + 13, kPhotoshop, PhotoshopOfIptc(metadata.iptc)));
    for (const PictureText& text : metadata.texts) markers.push_back({JPEG_COM, {text.text.begin(), text.text.end()}});
    return markers;
}
