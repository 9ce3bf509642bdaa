// SPDX-License-Identifier: Apache-2.0
// The texts of both code tables. They are part of the interface: trailing blanks, double blanks and misspellings stay.
// `docs/errors.md` shows the same tables with glosses, and the tests hold it against these.
#include "runtime/error_texts.h"

#include "quorvel/errors.h"
#include "runtime/windows1251.h"

namespace quorvel {
namespace {

struct GeneralText {
  int code;
  const char* english;
  Windows1251<96> russian;
};

constexpr GeneralText kGeneralTexts[] = {
    {imgErrorSurfaceParameters, "Invalid Parameters on Create Surface",
     u8"Неверные параметры при создании поверхности"},
    {imgErrorSurfacePointCounts, "Mismatch Input-Output number of points on Create Surface",
     u8"Несоответствие кол-ва входных и выходных точек при создании поверхности"},
    {imgErrorTooFewPoints, "Points for Surface too small",
     u8"Недостаточно точек для создания поверхности данного порядка"},
    {imgErrorEquationSystem, "Can't resolve equation system", u8"Не могу решить систему уравнений"},
    {imgErrorCoefficientCount, "invalid number of coefficients for Surface (for this order) ",
     u8"Неверное кол-во коэффициентов для построения поверхности данного порядка"},
    {imgErrorNewtonIterations, "Can't calculate Newton iteration: to large iterations for this precision",
     u8"Не могу вычислить приближение методом Ньютона: слишком много итераций для данной точности"},
    {imgErrorNewtonDivergence, "Can't calculate Newton iteration: divergence of process ",
     u8"Не могу вычислить приближение методом Ньютона: процесс расходится"},
    {imgErrorSeidelIterations, "Can't calculate Zeidel iteration: to large iterations for this precision",
     u8"Не могу вычислить приближение методом Зейделя: слишком много итераций для данной точности"},
    {imgErrorSeidelDivergence, "Can't calculate Zeidel iteration: divergence of process ",
     u8"Не могу вычислить приближение методом Зейделя: процесс расходится"},
    {imgErrorPhysicalMemory, "Physical Memory too small", u8"Недостаточно физической памяти"},
    {imgErrorRasterMethod, "This method raster-transfomation is not supported",
     u8"Данный метод растрового преобразования не поддерживается"},
    {imgErrorThreadNotStarted, "thread  is not started", u8"Нитка не запустилась"},
    {imgErrorThreadNotStopped, "thread  is not stoped", u8"Нитка не остановилась"},
    {imgErrorReserved, " xx", u8"xx"},
    {imgErrorReadCoordinates, "Can't read coordinate file ", u8"Не могу прочитать файл координат точек"},
    {imgErrorWriteCoordinates, "Can't write coordinate file ", u8"Не могу записать файл координат точек"},
    {imgErrorPointSetOrPolynomial, "Must be specified one input and one output point-set file or external polynom file",
     u8"Должен быть указан один входной и один выходной файл координат точек или внешний файл полинома"},
    {imgErrorOneInputOneOutput, "For this transformation must be one input & one output file!",
     u8"Для данного преобразования должен быть один входной и один выходной файл"},
    {imgErrorUnsupportedScale, "Unsupported scale of transformation", u8"Неподдерживаемый масштаб преобразования"},
    {imgErrorUnsupportedTurn, "Unsupported turn of transformation", u8"Неподдерживаемый угол поворота преобразования"},
    {imgErrorNoImage, "Input file has no image", u8"Нет изображения во входном файле"},
    {imgErrorImageType, "Unsupported input image type", u8"Изображения данного типа не поддерживаются"},
    {imgErrorIdenticalPoints, "Input point set has identical points",
     u8"В наборе точек встречаются две с одинаковыми координатами"},
    {imgErrorTileSize, "Input file tile size is not multiplier of 64", u8"Размер клетки входного файла не кратно 64"},
    {imgErrorAreaOutside, "AOI ( or part ) is not belong to input file area",
     u8"AOI или его часть не принадлежит входному файлу"},
    {imgErrorAreaWithoutSolution, "AOI has no point with decision", u8"AOI не имеет ни одной точки с точным решением"},
    {imgErrorDiskSpace, "Insufficient disk space for file", u8"Недостаточно места на диске для файла"},
    {imgErrorInvalidScale, "invalid transformation scale:", u8"Недопустимый масштаб преобразования:"},
    {imgErrorZeroDenominator, "Rational function: denominator is 0", u8"рациональный полином: знаменатель равен 0"},
    {imgErrorOrderTooBig, "Order is too big (not supported)", u8"Порядок полинома слишком велик, не поддерживается"},
    {imgErrorSurfaceNotSet, "polynom surface was not set", u8"Поверхность полинома не задана"},
    {imgErrorUnknownTermination, "Unknown fatal termination", u8"Неизвестное аварийное завершение"},
};

struct MathematicalText {
  int code;
  Windows1251<64> russian;
};

constexpr MathematicalText kMathematicalTexts[] = {
    {matErrorDivisionByZero, u8"деление на 0"},
    {matErrorZeroDimension, u8"размерность массива(матрицы) ==0"},
    {matErrorDimensionsXY, u8"размерность матриц(ы) по X & Y несовпадают"},
    {matErrorDimensionsXX, u8"размерность матриц по X & X несовпадают"},
    {matErrorDimensionsYY, u8"размерность матриц по Y & Y несовпадают"},
    {matErrorNotAVector, u8"матрица не является вектором"},
    {matErrorInfinitelyManySolutions, u8"бесконечное кол-во решений"},
    {matErrorNoSolution, u8"нет решения"},
    {matErrorEmptyY, u8"пустая размерность по Y"},
    {matErrorParameter, u8"неверный параметр"},
    {matErrorNotImplemented, u8"нереализованная функция"},
    {matErrorInputTooSmall, u8"входная матрица слишком мала"},
    {matErrorOutputTooSmall, u8"выходная матрица слишком мала"},
    {matErrorZeroDeterminant, u8"определитель матрицы равен 0"},
    {matErrorNotDiagonallyDominant, u8"матрица не является диагонально-домин."},
    {matErrorZeroOnDiagonal, u8"матрица имеет нулевые элементы в диагонали"},
    {matErrorSingularTriangle, u8"треугольная матрица не решается (0 в диагонали)"},
    {matErrorTooFewPoints, u8"точек слишком мало"},
    {matErrorPointCounts, u8"несовпадение количества точек"},
    {matErrorMemory, u8"недостаточно памяти"},
};

constexpr const char* kDefaultMathematicalText = "Unsupported Mathematic Error Error";

}  // namespace

const char* imgErrorMessage(int language, int code) {
  for (const GeneralText& text : kGeneralTexts) {
    if (text.code == code) return language == 0 ? text.english : text.russian.bytes;
  }
  return nullptr;
}

const char* matErrorMessage(int code) {
  if (code == 0) return nullptr;
  for (const MathematicalText& text : kMathematicalTexts) {
    if (text.code == code) return text.russian.bytes;
  }
  return kDefaultMathematicalText;
}

}  // namespace quorvel
