#include "page.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "style.h"
#include "support/pngio.h"

namespace gallery {

namespace {

// A name as a part of an address.
std::string slug(const std::string& name)
{
    std::string id;
    for (char c : name) {
        if (isalnum(static_cast<unsigned char>(c)))
            id += c;
        else if (!id.empty() && id.back() != '-')
            id += '-';
    }
    while (!id.empty() && id.back() == '-')
        id.pop_back();
    return id;
}

std::string timeText(double milliseconds)
{
    char text[32];
    if (milliseconds < 0.1)
        std::snprintf(text, sizeof text, "%.1f µs", milliseconds * 1000);
    else
        std::snprintf(text, sizeof text, "%.*f ms", milliseconds < 10 ? 2 : 1, milliseconds);
    return text;
}

// Small images are enlarged, by a factor that the caption names, so that their pixels can be seen.
int enlargement(const Figure& figure)
{
    return figure.width < 100 ? 256 / figure.width : 1;
}

void writeOverlay(std::ostream& out, const Figure& figure)
{
    if (figure.boxes.empty())
        return;
    out << "<svg viewBox=\"0 0 " << figure.width << ' ' << figure.height << "\" aria-hidden=\"true\">";
    for (const Box& box : figure.boxes) {
        if (box.width == figure.width && box.height == figure.height)
            continue;  // a channel of the whole image
        for (const char* kind : {"under", "over"})
            out << "<rect class=\"" << kind << "\" x=\"" << box.x << "\" y=\"" << box.y << "\" width=\"" << box.width
                << "\" height=\"" << box.height << "\"/>";
    }
    out << "</svg>";
}

void writeBoxTexts(std::ostream& out, const Figure& figure)
{
    for (const Box& box : figure.boxes) {
        if (box.label.empty())
            continue;
        out << "<span class=\"chip\">" << escaped(box.label);
        if (box.label.starts_with("region"))
            out << ": " << box.width << " × " << box.height << " at (" << box.x << ", " << box.y << ")";
        out << "</span>";
    }
}

}  // namespace

std::string escaped(const std::string& text)
{
    std::string result;
    for (char c : text) {
        switch (c) {
        case '&': result += "&amp;"; break;
        case '<': result += "&lt;"; break;
        case '>': result += "&gt;"; break;
        case '"': result += "&quot;"; break;
        default: result += c;
        }
    }
    return result;
}

Page::Page(const std::string& folder) : folder(folder)
{
    std::filesystem::create_directories(folder + "/img");
    for (const auto& file : std::filesystem::directory_iterator(folder + "/img"))
        if (file.path().extension() == ".png")
            std::filesystem::remove(file.path());
}

std::string Page::savePicture(const Figure& figure, const std::string& id)
{
    std::string key = std::to_string(figure.width) + '/' + std::to_string(figure.picture->nChannels) + '/';
    key.append(reinterpret_cast<const char*>(figure.picture->imageData), size_t(figure.picture->imageSize));
    std::string& file = files[key];
    if (file.empty()) {
        file = "img/" + id + '-' + slug(figure.name) + ".png";
        for (int i = 2; std::filesystem::exists(folder + '/' + file); ++i)
            file = "img/" + id + '-' + slug(figure.name) + '-' + std::to_string(i) + ".png";
        if (!pngSave((folder + '/' + file).c_str(), figure.picture))
            throw std::runtime_error("cannot write " + file);
    }
    return file;
}

void Page::writeFigures(std::ostream& out, const char* title, const std::vector<Figure>& figures, const std::string& id)
{
    if (figures.empty())
        return;
    out << "<div class=\"side\" style=\"--count:" << std::min<size_t>(figures.size(), 3) << "\"><h5>" << title
        << "</h5><div class=\"shots" << (figures.size() > 3 ? " many" : "") << "\">\n";
    for (const Figure& figure : figures) {
        std::string file = savePicture(figure, id);
        int factor = enlargement(figure);
        out << "<figure style=\"--width:" << figure.width * factor << "px\"><a href=\"" << file << "\"><img src=\""
            << file << "\" width=\"" << figure.width * factor << "\" height=\"" << figure.height * factor << "\" alt=\""
            << escaped(figure.name) << "\" loading=\"lazy\"" << (factor > 1 ? " class=\"pixels\"" : "") << ">";
        writeOverlay(out, figure);
        out << "</a><figcaption><b>" << escaped(figure.name) << "</b> <span>" << escaped(figure.detail)
            << (factor > 1 ? ", shown " + std::to_string(factor) + " times as large" : "") << "</span>";
        if (!figure.view.empty())
            out << "<span class=\"chip\">shown: " << escaped(figure.view) << "</span>";
        writeBoxTexts(out, figure);
        out << "</figcaption></figure>\n";
    }
    out << "</div></div>\n";
}

void Page::add(const Family& family, const Entry& entry, const Stage& stage)
{
    std::ostringstream out;
    std::string id = slug(entry.name);
    out << "<article id=\"" << id << "\"><h4><a href=\"#" << id << "\">" << escaped(entry.name) << "</a></h4>\n<p>"
        << escaped(entry.text) << "</p>\n<div class=\"sides\">";
    writeFigures(out, "before", stage.before, id);
    writeFigures(out, "after", stage.after, id);
    out << "</div>\n<pre>";
    for (const CodeLine& line : stage.lines) {
        out << "<code>" << escaped(line.text) << "</code>";
        out << "<i>" << (line.timed ? timeText(line.milliseconds) : "") << "</i>\n";
    }
    out << "</pre>\n";
    for (const std::string& note : stage.notes)
        out << "<p class=\"note\">" << escaped(note) << "</p>\n";
    for (const std::string& failure : stage.failures)
        out << "<p class=\"failure\">" << escaped(failure) << "</p>\n";
    out << "</article>\n";
    entries.push_back({family.subsystem, family.name, family.text, entry.name, id, out.str(), !stage.failures.empty()});
}

void Page::writeContents(std::ostream& out) const
{
    std::string subsystem, family;
    out << "<nav><a class=\"top\" href=\"#top\">orvz3 gallery</a>\n";
    for (const Shown& entry : entries) {
        if (entry.subsystem != subsystem)
            out << (subsystem.empty() ? "" : "</ul>\n") << "<h2>" << escaped(entry.subsystem) << "</h2>\n";
        if (entry.family != family)
            out << (entry.subsystem == subsystem ? "</ul>\n" : "") << "<h3>" << escaped(entry.family) << "</h3><ul>\n";
        subsystem = entry.subsystem;
        family = entry.family;
        out << "<li><a href=\"#" << entry.id << '"' << (entry.failed ? " class=\"failed\"" : "") << '>'
            << escaped(entry.name) << "</a></li>\n";
    }
    out << (entries.empty() ? "" : "</ul>") << "</nav>\n";
}

void Page::writeEntries(std::ostream& out) const
{
    std::string subsystem, family;
    for (const Shown& entry : entries) {
        if (entry.subsystem != subsystem)
            out << "<h2 id=\"" << slug("part " + entry.subsystem) << "\">" << escaped(entry.subsystem) << "</h2>\n";
        if (entry.family != family)
            out << "<h3>" << escaped(entry.family) << "</h3>\n<p class=\"family\">" << escaped(entry.familyText)
                << "</p>\n";
        subsystem = entry.subsystem;
        family = entry.family;
        out << entry.html;
    }
}

std::string Page::write(const std::string& head) const
{
    std::string path = folder + "/index.html";
    std::ofstream out(path);
    out << "<!DOCTYPE html>\n<html lang=\"en\"><head><meta charset=\"utf-8\"><title>orvz3 gallery</title>\n"
           "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n<style>"
        << style << "</style></head>\n<body id=\"top\">\n";
    writeContents(out);
    out << "<main><header><h1>orvz3 gallery</h1>\n" << head << "</header>\n";
    writeEntries(out);
    out << "</main></body></html>\n";
    out.close();
    if (!out)
        throw std::runtime_error("cannot write " + path);
    return path;
}

}  // namespace gallery
