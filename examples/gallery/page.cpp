#include "page.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <stdexcept>

#include "script.h"
#include "snippet.h"
#include "style.h"
#include "support/pngio.h"

namespace gallery {

namespace {

std::string timeText(double milliseconds)
{
    char text[32];
    if (milliseconds < 0.1)
        std::snprintf(text, sizeof text, "%.1f µs", milliseconds * 1000);
    else
        std::snprintf(text, sizeof text, "%.*f ms", milliseconds < 10 ? 2 : 1, milliseconds);
    return text;
}

// Small images are enlarged, so that their pixels can be seen; the caption says so.
int enlargement(const Figure& figure)
{
    return figure.width < 100 ? 256 / figure.width : 1;
}

void writeRectangle(std::ostream& out, const Box& box, const char* kind)
{
    out << "<rect class=\"" << kind << "\" x=\"" << box.x << "\" y=\"" << box.y << "\" width=\"" << box.width
        << "\" height=\"" << box.height << "\"/>";
}

void writeOverlay(std::ostream& out, const Figure& figure)
{
    if (figure.boxes.empty())
        return;
    out << "<svg viewBox=\"0 0 " << figure.width << ' ' << figure.height << "\" aria-hidden=\"true\">";
    for (const Box& box : figure.boxes) {
        if (box.label.empty()) {
            writeRectangle(out, box, "tile");
        } else if (box.width != figure.width || box.height != figure.height) {
            writeRectangle(out, box, "under");
            writeRectangle(out, box, "over");
        }
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

Page::Page(const std::string& folder, const std::string& reference) : folder(folder), reference(reference)
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
    // A side is as wide as its share of the figures; four make a square.
    size_t columns = figures.size() == 4 ? 2 : figures.size();
    out << "<div class=\"side\" style=\"--count:" << columns << "\"><h5>" << title << "</h5><div class=\"shots\">\n";
    for (const Figure& figure : figures) {
        std::string file = savePicture(figure, id);
        int factor = enlargement(figure);
        out << "<figure><a href=\"" << file << "\"><img src=\"" << file << "\" width=\"" << figure.width * factor
            << "\" height=\"" << figure.height * factor << "\" alt=\"" << escaped(figure.name) << "\" loading=\"lazy\""
            << (factor > 1 ? " class=\"pixels\"" : "") << ">";
        writeOverlay(out, figure);
        out << "</a><figcaption><b>" << escaped(figure.name) << "</b> <span>" << escaped(figure.detail)
            << (factor > 1 ? ", enlarged" : "") << "</span>";
        if (!figure.view.empty())
            out << "<span class=\"chip\">shown: " << escaped(figure.view) << "</span>";
        writeBoxTexts(out, figure);
        out << "</figcaption></figure>\n";
    }
    out << "</div></div>\n";
}

void Page::writeCalls(std::ostream& out, const Stage& stage) const
{
    static const std::regex function("\\b(orv[A-Z]\\w*)(?=\\()");
    out << "<pre>";
    for (const CodeLine& line : stage.lines) {
        out << "<code>"
            << std::regex_replace(escaped(laidOut(line.text)), function,
                                  "<a href=\"" + reference + "/f/$1.html\">$1</a>")
            << "</code><i>" << (line.timed ? timeText(line.milliseconds) : "") << "</i>\n";
    }
    out << "</pre>\n";
}

void Page::add(const Family& family, const Entry& entry, const Stage& stage)
{
    Shown shown = {&family, entry.name, slug(entry.name), "", "", functionsOf(stage), !stage.failures.empty()};
    std::ostringstream out;
    std::string names;
    for (const std::string& function : shown.functions)
        names += ' ' + function;
    // Entries of many pictures take more than one column of the page.
    size_t figures = stage.before.size() + stage.after.size();
    out << "<article id=\"" << shown.id << "\" data-names=\"" << escaped(shown.name + names) << "\" class=\""
        << (figures > 4   ? "widest"
            : figures > 2 ? "wide"
                          : "")
        << "\"><h4><a href=\"#" << shown.id << "\">" << escaped(shown.name) << "</a></h4>\n<p>" << escaped(entry.text)
        << "</p>\n<div class=\"sides\">";
    writeFigures(out, "before", stage.before, shown.id);
    writeFigures(out, "after", stage.after, shown.id);
    out << "</div>\n";
    writeCalls(out, stage);
    for (const std::string& note : stage.notes)
        out << "<p class=\"note\">" << escaped(note) << "</p>\n";
    for (const std::string& failure : stage.failures)
        out << "<p class=\"failure\">" << escaped(failure) << "</p>\n";
    out << "<details class=\"program\"><summary>as a program <button type=\"button\" "
           "class=\"copy\">copy</button></summary>"
           "<pre class=\"text\">"
        << escaped(programOf(entry, stage)) << "</pre></details>\n</article>\n";
    shown.html = out.str();
    if (!stage.after.empty())
        shown.picture = savePicture(stage.after.front(), shown.id);
    entries.push_back(std::move(shown));
}

// Calls `each` for every run of entries of the same family: whether its subsystem begins, its first entry and its last
// but one.
template <class Each>
void Page::forFamilies(Each each) const
{
    for (size_t first = 0; first < entries.size();) {
        size_t last = first;
        while (last < entries.size() && entries[last].family == entries[first].family)
            ++last;
        bool begins =
            first == 0 || std::string(entries[first - 1].family->subsystem) != entries[first].family->subsystem;
        each(begins, *entries[first].family, first, last);
        first = last;
    }
}

void Page::writeContents(std::ostream& out) const
{
    out << "<nav><a class=\"top\" href=\"#top\">orvz3 gallery</a>\n"
           "<input id=\"filter\" type=\"search\" placeholder=\"filter by name\" aria-label=\"filter by name\">\n"
           "<p><a href=\""
        << reference << "/index.html\">Reference</a> <button type=\"button\" id=\"fold\">unfold all</button></p>\n";
    forFamilies([&](bool begins, const Family& family, size_t first, size_t last) {
        if (begins)
            out << "<h2>" << escaped(family.subsystem) << "</h2>\n";
        out << "<details><summary>" << escaped(family.name) << "</summary><ul>\n";
        for (size_t i = first; i < last; ++i)
            out << "<li><a href=\"#" << entries[i].id << '"' << (entries[i].failed ? " class=\"failed\"" : "") << '>'
                << escaped(entries[i].name) << "</a></li>\n";
        out << "</ul></details>\n";
    });
    out << "</nav>\n";
}

void Page::writeEntries(std::ostream& out) const
{
    forFamilies([&](bool begins, const Family& family, size_t first, size_t last) {
        if (begins)
            out << "<h2 id=\"" << slug(std::string("part ") + family.subsystem) << "\">" << escaped(family.subsystem)
                << "</h2>\n";
        out << "<details class=\"family\" id=\"" << slug(std::string("family ") + family.name) << "\"><summary><h3>"
            << escaped(family.name) << " <small>" << last - first << "</small></h3><p>" << escaped(family.text)
            << "</p><span class=\"strip\">";
        for (size_t i = first; i < last && i < first + 6; ++i)
            if (!entries[i].picture.empty())
                out << "<img src=\"" << entries[i].picture << "\" alt=\"\" loading=\"lazy\">";
        out << "</span></summary>\n<div class=\"entries\">\n";
        for (size_t i = first; i < last; ++i)
            out << entries[i].html;
        out << "</div></details>\n";
    });
}

void Page::writeIndex() const
{
    std::ofstream out(folder + "/index.tsv");
    for (const Shown& entry : entries) {
        out << entry.id << '\t' << entry.family->subsystem << '\t' << entry.family->name << '\t' << entry.family->text
            << '\t' << entry.name << '\t' << entry.picture << '\t';
        for (const std::string& function : entry.functions)
            out << function << ' ';
        out << '\n';
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
    out << "<main><header><h1>orvz3 gallery</h1>\n"
        << head << "</header>\n<p id=\"none\" hidden>No entry has this in its names.</p>\n";
    writeEntries(out);
    out << "</main>\n<script>" << script << "</script></body></html>\n";
    out.close();
    writeIndex();
    if (!out)
        throw std::runtime_error("cannot write " + path);
    return path;
}

}  // namespace gallery
