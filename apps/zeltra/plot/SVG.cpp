// SPDX-License-Identifier: MIT
#include "apps/zeltra/plot/SVG.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <utility>

namespace zeltra::app {
namespace {

// A coordinate, to a hundredth of a pixel.
std::string N(double value) {
  char text[40];
  std::snprintf(text, sizeof text, "%.2f", value);
  return text;
}

std::string Attribute(const char* name, const std::string& value) {
  return std::string(" ") + name + "=\"" + value + "\"";
}

// The number of an attribute of the outermost element of a file.
int AttributeOf(const std::string& file, const std::string& name) {
  const std::string mark = " " + name + "=\"";
  return std::atoi(file.c_str() + file.find(mark) + mark.size());
}

std::string Escaped(const std::string& text) {
  std::string escaped;
  for (const char c : text) {
    switch (c) {
      case '&':
        escaped += "&amp;";
        break;
      case '<':
        escaped += "&lt;";
        break;
      case '>':
        escaped += "&gt;";
        break;
      default:
        escaped += c;
    }
  }
  return escaped;
}

std::string Base64(const std::string& bytes) {
  static constexpr char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  for (size_t at = 0; at < bytes.size(); at += 3) {
    unsigned group = 0;
    for (size_t i = at; i < at + 3; ++i) group = group << 8 | (i < bytes.size() ? static_cast<uint8_t>(bytes[i]) : 0U);
    for (int shift = 18; shift >= 0; shift -= 6) text += kDigits[group >> shift & 63];
  }
  for (size_t i = 0; i < (3 - bytes.size() % 3) % 3; ++i) text[text.size() - 1 - i] = '=';
  return text;
}

}  // namespace

SVG::SVG(int width, int height) {
  const std::string w = std::to_string(width), h = std::to_string(height);
  text_ = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<svg xmlns=\"http://www.w3.org/2000/svg\"" +
          Attribute("width", w) + Attribute("height", h) + Attribute("viewBox", "0 0 " + w + " " + h) +
          " font-family=\"DejaVu Sans, Verdana, Helvetica, Arial, sans-serif\">\n<rect" + Attribute("width", w) +
          Attribute("height", h) + " fill=\"#ffffff\"/>\n";
}

std::string SVG::Stacked(const std::string& first, const std::string& second) {
  const int width = std::max(AttributeOf(first, "width"), AttributeOf(second, "width"));
  const int height = AttributeOf(first, "height");
  SVG svg(width, height + AttributeOf(second, "height"));
  for (const auto& [file, top] : {std::pair(&first, 0), std::pair(&second, height)}) {
    svg.text_ += "<g" + Attribute("transform", "translate(0 " + std::to_string(top) + ")") + ">\n" +
                 file->substr(file->find("<svg")) + "</g>\n";
  }
  return svg.Finish();
}

void SVG::Line(double x1, double y1, double x2, double y2, const char* colour, double width) {
  text_ += "<line" + Attribute("x1", N(x1)) + Attribute("y1", N(y1)) + Attribute("x2", N(x2)) + Attribute("y2", N(y2)) +
           Attribute("stroke", colour) + Attribute("stroke-width", N(width)) + "/>\n";
}

void SVG::Frame(double x, double y, double width, double height) {
  text_ += "<rect" + Attribute("x", N(x)) + Attribute("y", N(y)) + Attribute("width", N(width)) +
           Attribute("height", N(height)) + " fill=\"none\" stroke=\"#000000\"/>\n";
}

void SVG::Disc(double x, double y, double radius, const char* colour) {
  text_ += "<circle" + Attribute("cx", N(x)) + Attribute("cy", N(y)) + Attribute("r", N(radius)) +
           Attribute("fill", colour) + "/>\n";
}

void SVG::Text(double x, double y, const std::string& text, Anchor anchor, int size, const char* colour) {
  static constexpr const char* kAnchors[] = {"start", "middle", "end"};
  text_ += "<text" + Attribute("x", N(x)) + Attribute("y", N(y)) + Attribute("text-anchor", kAnchors[anchor]) +
           Attribute("font-size", std::to_string(size)) + Attribute("fill", colour) + ">" + Escaped(text) + "</text>\n";
}

void SVG::TextUpward(double x, double y, const std::string& text) {
  text_ += "<text" + Attribute("transform", "translate(" + N(x) + " " + N(y) + ") rotate(-90)") +
           " text-anchor=\"middle\" font-size=\"14\">" + Escaped(text) + "</text>\n";
}

void SVG::Dots(double x, double y, double unit, const std::string& path, const char* colour, double diameter) {
  text_ += "<path" + Attribute("transform", "translate(" + N(x) + " " + N(y) + ") scale(" + N(unit) + ")") +
           Attribute("stroke", colour) + Attribute("stroke-width", N(diameter / unit)) +
           " stroke-linecap=\"round\" fill=\"none\"" + Attribute("d", path) + "/>\n";
}

void SVG::Image(double x, double y, double width, double height, const std::string& png) {
  text_ +=
      "<image" + Attribute("x", N(x)) + Attribute("y", N(y)) + Attribute("width", N(width)) +
      Attribute("height", N(height)) +
      " preserveAspectRatio=\"none\" xmlns:xlink=\"http://www.w3.org/1999/xlink\" xlink:href=\"data:image/png;base64," +
      Base64(png) + "\"/>\n";
}

void SVG::Outline(const std::string& path, const char* colour, bool isDashed) {
  text_ += "<path fill=\"none\"" + Attribute("stroke", colour) + (isDashed ? " stroke-dasharray=\"4 3\"" : "") +
           Attribute("d", path) + "/>\n";
}

void SVG::Ellipse(double x, double y, double across, double up, double angle, const char* colour, double width) {
  text_ += "<ellipse fill=\"none\"" + Attribute("rx", N(across)) + Attribute("ry", N(up)) +
           Attribute("transform", "translate(" + N(x) + " " + N(y) + ") rotate(" + N(angle) + ")") +
           Attribute("stroke", colour) + Attribute("stroke-width", N(width)) + "/>\n";
}

}  // namespace zeltra::app
