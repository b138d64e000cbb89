#include "numerics/Matrix.h"
#include "Input.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const fuzz::InputFile input(data, size);
  Vorn::Matrix matrix;
  if (!matrix.Load(input.path().c_str())) return 0;
  double sum = 0;
  for (unsigned int r = 0; r < matrix.rows; ++r)
    for (unsigned int c = 0; c < matrix.columns; ++c) sum += matrix(r, c);
  const Vorn::Matrix copy = matrix;
  fuzz::Require(copy.rows == matrix.rows && (sum == sum || sum != sum), "every value can be read");
  return 0;
}
