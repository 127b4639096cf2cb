# Installs tarnwellctl from a checkout, in which it stands:
#   brew install --HEAD --formula ./packaging/homebrew/tarnwellctl.rb
# It has not been run: nobody has built this on macOS yet.
class Tarnwellctl < Formula
  desc "Let a program read and change the Tarnwell task plan"
  homepage "https://tarnwell.example"
  head "file://#{File.expand_path("../..", __dir__)}", using: :git

  depends_on "cmake" => :build
  depends_on "ninja" => :build
  depends_on "simdjson"
  depends_on "uriparser"

  def install
    system "cmake", "-S", ".", "-B", "build", "-G", "Ninja", "-DBUILD_TESTING=OFF", *std_cmake_args
    system "cmake", "--build", "build"
    system "cmake", "--install", "build", "--component", "runtime"
    man1.install "packaging/tarnwellctl.1"
  end

  test do
    reply = pipe_output("#{bin}/tarnwellctl", '{"version":1,"command":"tasks.list"}')
    assert_match '"ok":true', reply
  end
end
