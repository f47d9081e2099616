// The server of tavo-panel --view: a page that shows the glass of the panel in the state folder,
// and takes touches. Usage: tavo-panel-view PORT (0: any). Standard input is a socket: a byte goes
// out when the page can be opened, and its end ends the server.
//
// Only the page itself can do anything: requests must name this machine as their host, which the
// pages of others cannot, and touches must come from a page of that origin.

#include "message.h"
#include "pictures.h"
#include "touch.h"
#include "view_page.h"

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <httplib.h>
#include <mutex>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace {

constexpr char address[] = "127.0.0.1";
constexpr int threads = 16;         // each open page takes one; a browser opens six at most
constexpr size_t most_bytes = 4096; // of a request, and of the log at a time
constexpr auto short_pause = std::chrono::milliseconds(40);

std::mutex touch_mutex;
touch_screen fingers;

// Returns the lines that the log has got since `offset`, and moves it; -1 stands for a place a
// little before the end.
std::string read_lines(off64_t &offset)
{
    const state_file log("log", O_RDONLY);
    struct stat64 info = {};
    fstat64(log.fd, &info);
    const bool first = offset < 0;
    if (first || info.st_size < offset) // or somebody has emptied it
        offset = first ? std::max<off64_t>(info.st_size - off64_t(most_bytes), 0) : 0;
    std::string text(most_bytes, '\0');
    const ssize_t length = pread64(log.fd, text.data(), text.size(), offset);
    text.resize(length < 0 ? 0 : size_t(length));
    text.resize(text.rfind('\n') + 1);
    const size_t start = first && offset > 0 ? text.find('\n') + 1 : 0;
    offset += off64_t(text.size());
    return text.substr(start);
}

// Sends the log's lines as events: first "old" ones and "start", then each as it arrives. False
// when the page has gone.
bool send_lines(off64_t &offset, httplib::DataSink &sink)
{
    std::this_thread::sleep_for(short_pause);
    const bool first = offset < 0;
    const std::string head = first ? "event: old\ndata: " : "data: ";
    std::istringstream lines(read_lines(offset));
    std::string events;
    for (std::string line; std::getline(lines, line);)
        events += head + line + "\n\n";
    events += first ? "event: start\ndata:\n\n" : ":\n\n"; // nothing: is the page still there?
    return sink.write(events.data(), events.size());
}

void answer_events(const httplib::Request &, httplib::Response &response)
{
    response.set_chunked_content_provider(
        "text/event-stream",
        [offset = off64_t(-1)](size_t, auto &sink) mutable { return send_lines(offset, sink); });
}

void answer_page(const httplib::Request &, httplib::Response &response)
{
    response.set_header("Content-Security-Policy",
                        "default-src 'unsafe-inline'; connect-src 'self'");
    response.set_content(view_page, "text/html");
}

// One byte a pixel; the size and the depth are in a header.
void answer_glass(const httplib::Request &, httplib::Response &response)
{
    panel_settings settings;
    const gray_picture glass = read_glass(settings);
    if (!glass.pixels) {
        response.status = 500;
        return;
    }
    char panel[40];
    snprintf(panel, sizeof panel, "%u %u %u", glass.size.width, glass.size.height, settings.bpp);
    response.set_header("X-Panel", panel);
    response.set_content(reinterpret_cast<const char *>(glass.pixels.get()), glass.bytes(),
                         "application/octet-stream");
}

// Lines as those of a file of strokes. What nobody reads now is lost, as on a device.
void answer_touch(const httplib::Request &request, httplib::Response &response)
{
    const std::lock_guard<std::mutex> guard(touch_mutex);
    std::vector<touch_event> events;
    std::istringstream lines(request.body);
    for (std::string line; std::getline(lines, line);)
        if (!add_touch(fingers, line.c_str(), events))
            response.status = 400;
    const int fifo = open_touch_fifo((std::string(state_folder()) + "/touch").c_str());
    send_touches(fifo, events);
    if (fifo >= 0)
        close(fifo);
}

httplib::Server::HandlerResponse check_origin(const httplib::Request &request,
                                              httplib::Response &response, int port)
{
    using answer = httplib::Server::HandlerResponse;
    const std::string host = request.get_header_value("Host"), end = ":" + std::to_string(port);
    const bool from_here = host == "127.0.0.1" + end || host == "localhost" + end;
    const bool from_page = request.get_header_value("Origin") == "http://" + host;
    if (from_here && (request.method == "GET" || (request.method == "POST" && from_page)))
        return answer::Unhandled;
    response.status = 403;
    return answer::Handled;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 2 || !state_folder())
        return 2;
    signal(SIGPIPE, SIG_IGN);
    httplib::Server server;
    server.set_socket_options([](int socket) { // by default others could share the port
        const int yes = 1;
        setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    });
    int port = atoi(argv[1]);
    if (port == 0)
        port = server.bind_to_any_port(address);
    else if (!server.bind_to_port(address, port))
        return error_message("cannot serve the port %d", port);
    server.new_task_queue = [] { return new httplib::ThreadPool(threads); };
    server.set_keep_alive_max_count(1); // a connection that waits would keep its thread
    server.set_payload_max_length(most_bytes);
    server.set_pre_routing_handler([port](const auto &request, auto &response) {
        return check_origin(request, response, port);
    });
    server.Get("/", answer_page);
    server.Get("/events", answer_events);
    server.Get("/glass", answer_glass);
    server.Post("/touch", answer_touch);

    std::thread([&server] { server.listen_after_bind(); }).detach();
    fprintf(stderr, "tavo-panel: the page is http://127.0.0.1:%d/\n", port);
    char byte = '\n';
    if (write(STDIN_FILENO, &byte, 1) == 1)
        while (read(STDIN_FILENO, &byte, 1) > 0)
            ;
    std::this_thread::sleep_for(5 * short_pause); // the last update reaches the pages
    _exit(0);
}
