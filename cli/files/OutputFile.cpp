#include "files/OutputFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <system_error>
#include <vector>

#include "Errors.h"
#include "files/Cleanup.h"
#include "files/Scratch.h"
#include "files/UnnamedFile.h"

namespace {

constexpr std::size_t kBufferBytes = 1 << 16;
constexpr int kNameTries = 100;

// Six of them, for a name that nobody guesses.
std::string RandomLetters() {
    static constexpr char kLetters[] = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";
    constexpr int kCount = 6;
    std::random_device random;
    std::uniform_int_distribution<std::size_t> letter(0, sizeof kLetters - 2);
    std::string letters;
    for (int i = 0; i < kCount; ++i) letters += kLetters[letter(random)];
    return letters;
}

// The permissions of a file that is to take the place of `target`: those of the target, else what the umask leaves.
void GivePermissions(int descriptor, bool exists, const struct stat& target) {
    if (exists) {
        // A file of somebody else stays theirs where the system lets us do that; where not, the result is ours.
        if (fchown(descriptor, target.st_uid, target.st_gid) != 0) errno = 0;
        fchmod(descriptor, target.st_mode & 0777);
        return;
    }
    const mode_t mask = umask(0);
    umask(mask);
    fchmod(descriptor, 0666 & ~mask);
}

// Where a link leads to that nothing is at yet; any other path as it is.
std::string EndOfLinks(std::filesystem::path path) {
    constexpr int kMaxLinks = 40;  // as the system follows; in a circle there is no end
    for (int i = 0; i < kMaxLinks; ++i) {
        std::error_code noLink;
        const std::filesystem::path next = std::filesystem::read_symlink(path, noLink);
        if (noLink) break;
        path = path.parent_path() / next;
    }
    return path.string();
}

}  // namespace

OutputFile::OutputFile(std::string path) : path_(std::move(path)), target_(path_) {
    if (path_ == "-") {
        path_ = "standard output";
        OpenDirectly(fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
        return;
    }
    // A link keeps being a link: what it leads to is replaced.
    if (char* real = realpath(path_.c_str(), nullptr)) {
        target_ = real;
        std::free(real);
    } else if (access(path_.c_str(), F_OK) != 0) {  // what is there without a path is a pipe
        target_ = EndOfLinks(path_);
    }
    struct stat status {};
    const bool exists = stat(target_.c_str(), &status) == 0;
    if (!exists && errno != ENOENT) FailSystem(path_, errno);
    if (exists && S_ISDIR(status.st_mode)) FailSystem(path_, EISDIR);
    if (exists && access(target_.c_str(), W_OK) != 0) FailSystem(path_, errno);

    if (exists && !S_ISREG(status.st_mode)) {
        OpenDirectly(open(target_.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY));
        return;
    }
    OpenReplacement();
    GivePermissions(fileno(file_), exists, status);
    std::setvbuf(file_, nullptr, _IOFBF, kBufferBytes);
}

// Takes the descriptor of a device or a pipe; below 0: it could not be opened.
void OutputFile::OpenDirectly(int descriptor) {
    if (descriptor < 0) FailSystem(path_, errno);
    if (isatty(descriptor) == 1) {
        close(descriptor);
        FailFile(path_, "is a terminal; a picture goes to a file or a pipe");
    }
    // A reader that leaves early is an error to tell of, as a full disk is.
    std::signal(SIGPIPE, SIG_IGN);
    file_ = fdopen(descriptor, "wb");
    if (file_ == nullptr) {
        const int error = errno == EINVAL ? EBADF : errno;  // nothing can be written to it
        close(descriptor);
        FailSystem(path_, error);
    }
    std::setvbuf(file_, nullptr, _IOFBF, kBufferBytes);
}

void OutputFile::OpenReplacement() {
    const std::string directory = std::filesystem::path(target_).parent_path().string();
    directory_ = directory.empty() ? "." : directory;
    const int descriptor = OpenUnnamed(directory_);
    if (descriptor < 0 && !LacksUnnamedFiles(errno)) FailSystem(path_, errno);
    if (descriptor < 0) return OpenTemporary();
    if (!CanBeNamed(descriptor)) {
        close(descriptor);
        return OpenTemporary();
    }
    file_ = fdopen(descriptor, "wb");
    // The one that stays open when the last bytes have been written.
    unnamed_ = file_ != nullptr ? fcntl(descriptor, F_DUPFD_CLOEXEC, STDERR_FILENO + 1) : -1;
    if (unnamed_ >= 0) return;
    const int error = errno;
    if (file_ == nullptr) close(descriptor);
    if (file_ != nullptr) std::fclose(file_);
    FailSystem(path_, error);
}

void OutputFile::OpenTemporary() {
    const SignalPause pause;
    temporary_ = directory_ + "/.zor-XXXXXX";
    const int descriptor = mkostemp(temporary_.data(), O_CLOEXEC);
    if (descriptor < 0) FailSystem(path_, errno);
    file_ = fdopen(descriptor, "wb");
    if (file_ == nullptr || !RegisterTemporary(temporary_)) {
        unlink(temporary_.c_str());
        if (file_ == nullptr) close(descriptor);
        if (file_ != nullptr) std::fclose(file_);
        FailFile(path_, "too many open files");
    }
}

OutputFile::~OutputFile() {
    if (file_ != nullptr) std::fclose(file_);
    if (direct_ != nullptr) std::fclose(direct_);
    if (unnamed_ >= 0) close(unnamed_);
    if (temporary_.empty()) return;
    unlink(temporary_.c_str());
    ForgetTemporary(temporary_);
}

bool OutputFile::Write(const void* bytes, std::size_t count) {
    errno = 0;
    if (std::fwrite(bytes, 1, count, file_) == count) return true;
    error_ = errno != 0 ? errno : EIO;
    return false;
}

void OutputFile::MakeSeekable() {
    if (!directory_.empty() || direct_ != nullptr) return;
    const int scratch = OpenScratch();
    std::FILE* file = fdopen(scratch, "w+b");
    if (file == nullptr) {
        const int error = errno;
        close(scratch);
        FailScratch(error);
    }
    std::setvbuf(file, nullptr, _IOFBF, kBufferBytes);
    direct_ = file_;
    file_ = file;
}

std::int64_t OutputFile::Seek(std::int64_t offset, int whence) {
    errno = 0;
    if (fseeko(file_, offset, whence) == 0) return ftello(file_);
    error_ = errno != 0 ? errno : EIO;
    return -1;
}

void OutputFile::Fail() const {
    if (direct_ != nullptr) FailScratch(error_);
    FailSystem(path_, error_);
}

// Moves what was gathered to where it belongs.
void OutputFile::CopyScratch() {
    if (error_ == 0) static_cast<void>(Seek(0, SEEK_SET));
    if (error_ != 0) Fail();
    std::FILE* scratch = file_;
    file_ = direct_;
    direct_ = nullptr;
    std::vector<char> buffer(kBufferBytes);
    bool good = true;
    while (const std::size_t count = good ? std::fread(buffer.data(), 1, buffer.size(), scratch) : 0)
        good = Write(buffer.data(), count);
    const int readError = std::ferror(scratch) != 0 ? EIO : 0;
    std::fclose(scratch);
    if (readError != 0) FailScratch(readError);
}

// A name can be given only where nothing stands; to take the place of a file takes one more name for a moment.
void OutputFile::GiveName() {
    const SignalPause pause;
    if (NameFile(unnamed_, target_)) return;
    int error = errno;
    std::string name;
    for (int tries = 0; error == EEXIST && tries < kNameTries; ++tries) {
        name = directory_ + "/.zor-" + RandomLetters();
        error = NameFile(unnamed_, name) ? 0 : errno;
    }
    if (error != 0) FailSystem(path_, error);
    if (std::rename(name.c_str(), target_.c_str()) == 0) return;
    error = errno;
    unlink(name.c_str());
    FailSystem(path_, error);
}

void OutputFile::Commit() {
    if (direct_ != nullptr) CopyScratch();
    std::FILE* file = file_;
    file_ = nullptr;
    errno = 0;
    const bool closed = std::fclose(file) == 0;  // writes the last buffer; some file systems report errors only here
    if (error_ == 0 && !closed) error_ = errno != 0 ? errno : EIO;
    if (error_ != 0) Fail();
    if (unnamed_ >= 0) return GiveName();
    if (temporary_.empty()) return;
    const SignalPause pause;
    if (std::rename(temporary_.c_str(), target_.c_str()) != 0) FailSystem(path_, errno);
    ForgetTemporary(temporary_);
    temporary_.clear();
}
