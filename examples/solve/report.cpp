#include "report.h"

#include <cmath>
#include <cwchar>
#include <locale>

namespace {

struct Formulas {
  const char *residual, *relative;
};

Formulas formulasOf(Method method) {
  switch (systemOf(method)) {
    case System::LeastSquares:
      return {"|A^T (b - A x)|", "|A^T (b - A x)| / |A^T b|"};
    case System::Square:
      return {"|b - A x|", "|b - A x| / |b|"};
    default:
      return {"|b - A A^T y|", "|b - A A^T y| / |b|"};
  }
}

// The length of the UTF-8 character that begins at `at`; 0 if there is none.
std::size_t lengthOfCharacter(const std::string& text, std::size_t at) {
  // the facet accepts surrogates, which begin with ED and A0 to BF
  if (text[at] == '\xed' && at + 1 < text.size() && static_cast<unsigned char>(text[at + 1]) > 0x9f) return 0;
  const auto& utf8 = std::use_facet<std::codecvt<char32_t, char, std::mbstate_t>>(std::locale::classic());
  std::mbstate_t state{};
  return static_cast<std::size_t>(utf8.length(state, text.data() + at, text.data() + text.size(), 1));
}

// Writes a JSON string, which must be UTF-8. File names may contain any bytes; bytes that are not UTF-8
// become U+FFFD.
std::string escaped(const std::string& text) {
  std::string result = "\"";
  for (std::size_t at = 0; at < text.size();) {
    const char c = text[at];
    const auto byte = static_cast<unsigned char>(c);
    const std::size_t length = lengthOfCharacter(text, at);
    char code[8];
    if (length == 0) {
      result += "\\ufffd";
    } else if (c == '"' || c == '\\') {
      result += '\\';
      result += c;
    } else if (byte < 32 || byte == 127) {
      std::snprintf(code, sizeof code, "\\u%04x", static_cast<unsigned>(byte));
      result += code;
    } else {
      result.append(text, at, length);
    }
    at += length == 0 ? 1 : length;
  }
  return result + "\"";
}

std::string number(double value) {
  if (!std::isfinite(value)) return "null";
  char text[40];
  std::snprintf(text, sizeof text, "%.17g", value);
  return text;
}

// The members of a JSON object, one per line.
class JsonObject {
 public:
  explicit JsonObject(std::FILE* out) : out_(out) { std::fputs("{", out); }
  ~JsonObject() { std::fputs("\n}\n", out_); }
  JsonObject(const JsonObject&) = delete;
  JsonObject& operator=(const JsonObject&) = delete;

  void member(const char* name, const std::string& json) {
    std::fprintf(out_, "%s\n  \"%s\": %s", first_ ? "" : ",", name, json.c_str());
    first_ = false;
  }

 private:
  std::FILE* out_;
  bool first_ = true;
};

std::string listOf(const std::vector<std::string>& texts) {
  std::string list = "[";
  for (const std::string& text : texts) list += (list.size() > 1 ? ", " : "") + escaped(text);
  return list + "]";
}

std::vector<std::string> allNotes(const SparseProblem& problem, const Result& result) {
  std::vector<std::string> notes = problem.notes;
  notes.insert(notes.end(), result.notes.begin(), result.notes.end());
  return notes;
}

}  // namespace

void printReport(const Options& options, const SparseProblem& problem, const Result& result,
                 const DenseCheck& check, std::FILE* out) {
  const bool shifted = options.definizer > 0.0;
  std::fprintf(out, "matrix            %s\n", problem.path.c_str());
  std::fprintf(out, "size              %d x %d\n", problem.rows, problem.columns);
  std::fprintf(out, "entries           %zu\n", problem.entries.size());
  std::fprintf(out, "problem           %s\n", result.problem.c_str());
  if (result.iterations >= 0) std::fprintf(out, "iterations        %d\n", result.iterations);
  if (result.products >= 0) std::fprintf(out, "products          %d\n", result.products);
  std::fprintf(out, "status            %s\n", result.outcome.c_str());
  if (result.rsq >= 0.0 || std::isnan(result.rsq)) {
    std::fprintf(out, "squared residual  %g  of the system solved\n", result.rsq);
  } else {
    const Formulas formulas = formulasOf(result.method);
    std::fprintf(out, "residual          %g  %s\n", result.residual.size, formulas.residual);
    std::fprintf(out, "relative          %g  %s\n", result.residual.relative, formulas.relative);
  }
  std::fprintf(out, "scaled residual   %g  %s\n", result.residual.scaled,
               scaledFormula(systemOf(result.method), shifted));
  std::fprintf(out, "time              %.3f ms\n", result.seconds * 1e3);
  if (!options.preconditioner.empty()) {
    std::fprintf(out, "preconditioner    %s\n", options.preconditioner.c_str());
  }
  for (const std::string& note : allNotes(problem, result))
    std::fprintf(out, "note              %s\n", note.c_str());
  if (!check.factorization.empty()) {
    std::fprintf(out, "dense check       %s: |x - dense x| / |dense x| = %g\n", check.factorization.c_str(),
                 check.difference);
  }
}

void writeJson(const Options& options, const SparseProblem& problem, const Result& result,
               const DenseCheck& check, std::FILE* out) {
  const char* const names[] = {"solved", "bad input", "not solved", "no memory", "stopped"};
  const char* const families[] = {"front door", "newer", "older"};
  JsonObject json(out);
  json.member("matrix", escaped(problem.path));
  json.member("rows", std::to_string(problem.rows));
  json.member("columns", std::to_string(problem.columns));
  json.member("entries", std::to_string(problem.entries.size()));
  json.member("problem", escaped(result.problem));
  json.member("family", escaped(families[static_cast<int>(options.family)]));
  json.member("status", escaped(names[result.status]));
  json.member("exitStatus", std::to_string(result.status));
  json.member("message", escaped(result.outcome));
  json.member("iterations", result.iterations < 0 ? "null" : std::to_string(result.iterations));
  json.member("products", result.products < 0 ? "null" : std::to_string(result.products));
  json.member("residual", number(result.residual.size));
  json.member("relativeResidual", number(result.residual.relative));
  json.member("scaledResidual", number(result.residual.scaled));
  json.member("seconds", number(result.seconds));
  json.member("preconditioner", escaped(options.preconditioner.empty() ? "default" : options.preconditioner));
  json.member("notes", listOf(allNotes(problem, result)));
  if (!check.factorization.empty()) {
    json.member("denseCheck", escaped(check.factorization));
    json.member("denseDifference", number(check.difference));
  }
}

void writeSolution(const Result& result, std::FILE* out) {
  std::fprintf(out, "%%%%MatrixMarket matrix array real general\n%% %s; relative residual %g\n%d 1\n",
               result.outcome.c_str(), result.residual.relative, result.x.size());
  for (int i = 0; i < result.x.size(); ++i) std::fprintf(out, "%.17g\n", result.x[i]);
}
