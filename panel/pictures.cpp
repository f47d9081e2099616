#include "pictures.h"

#include "message.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <new>
#include <png.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

struct file_closer {
    void operator()(FILE *file) const { fclose(file); }
};
using file_handle = std::unique_ptr<FILE, file_closer>;

gray_picture make_picture(pixel_size size)
{
    gray_picture picture = {size, nullptr};
    picture.pixels.reset(new (std::nothrow) uint8_t[picture.bytes()]);
    return picture;
}

bool write_png_to(FILE *stream, const gray_picture &picture)
{
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = picture.size.width;
    image.height = picture.size.height;
    image.format = PNG_FORMAT_GRAY;
    return png_image_write_to_stdio(&image, stream, 0, picture.pixels.get(), 0, nullptr) &&
           fflush(stream) == 0;
}

bool write_png(const std::string &path, const gray_picture &picture)
{
    const bool in_place = !can_replace(path.c_str());
    const std::string written = in_place ? path : path + "." + std::to_string(getpid());
    const file_handle stream(fopen(written.c_str(), in_place ? "we" : "wxe"));
    const bool complete = stream && picture.pixels && write_png_to(stream.get(), picture);
    if (complete && (in_place || rename(written.c_str(), path.c_str()) == 0))
        return true;
    error_message("cannot write %s: %s", path.c_str(), strerror(errno));
    if (!in_place && stream)
        remove(written.c_str());
    return false;
}

// Reads a PGM file as the preloaded library writes it.
gray_picture read_pgm(const std::string &path)
{
    const file_handle file(fopen(path.c_str(), "rbe"));
    pixel_size size;
    if (!file || fscanf(file.get(), "P5 %u %u 255", &size.width, &size.height) != 2 ||
        fgetc(file.get()) != '\n' || size.width > longest_side || size.height > longest_side)
        return {};
    gray_picture picture = make_picture(size);
    if (picture.pixels &&
        fread(picture.pixels.get(), 1, picture.bytes(), file.get()) != picture.bytes())
        picture.pixels.reset();
    return picture;
}

// ".TIME-REGION-WAVE-MODE.pgm": a frame that the library has completed.
int is_new_frame(const dirent *entry)
{
    const char *ending = strrchr(entry->d_name, '.');
    return entry->d_name[0] == '.' && strcmp(ending, ".pgm") == 0 && strchr(entry->d_name, '-');
}

int is_png(const dirent *entry)
{
    const char *ending = strrchr(entry->d_name, '.');
    return ending && strcmp(ending, ".png") == 0;
}

} // namespace

gray_picture read_glass(panel_settings &settings)
{
    const folder_lock lock;
    if (!read_settings(settings))
        return {};
    gray_picture picture = make_picture(settings.visible);
    if (picture.pixels) {
        memset(picture.pixels.get(), 0xFF, picture.bytes());
        const state_file glass("glass", O_RDONLY);
        if (pread64(glass.fd, picture.pixels.get(), picture.bytes(), 0) < 0 && errno != EBADF)
            picture.pixels.reset();
    }
    return picture;
}

bool can_replace(const char *path)
{
    struct stat info;
    return lstat(path, &info) != 0 || S_ISREG(info.st_mode);
}

bool write_glass(const char *path)
{
    panel_settings settings;
    return write_png(path, read_glass(settings));
}

bool open_frames(const char *path, frame_folder &frames)
{
    if (mkdir(path, 0777) != 0 && errno != EEXIST)
        return false;
    char absolute[PATH_MAX];
    if (!realpath(path, absolute))
        return false;
    frames = {absolute, 0};
    dirent **entries = nullptr;
    const int count = scandir(absolute, &entries, is_png, alphasort);
    for (int i = 0; i < count; ++i) {
        frames.last_number = std::max(frames.last_number, atoi(entries[i]->d_name));
        free(entries[i]);
    }
    free(static_cast<void *>(entries));
    return count >= 0;
}

bool take_frames(frame_folder &frames)
{
    dirent **entries = nullptr;
    const int count = scandir(frames.path.c_str(), &entries, is_new_frame, alphasort);
    bool taken = count >= 0;
    for (int i = 0; i < count; ++i) {
        const std::string name = entries[i]->d_name, source = frames.path + "/" + name;
        free(entries[i]);
        // The time makes room for the number.
        const std::string description =
            name.substr(name.find('-'), name.rfind('.') - name.find('-'));
        char number[16];
        snprintf(number, sizeof number, "%04d", ++frames.last_number);
        taken &= write_png(frames.path + "/" + number + description + ".png", read_pgm(source));
        remove(source.c_str());
    }
    free(static_cast<void *>(entries));
    return taken;
}
