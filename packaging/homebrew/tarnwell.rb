# Installs the programs from the checkout that holds this file:
#   brew install --HEAD --formula ./packaging/homebrew/tarnwell.rb
# It has never been run.
class Tarnwell < Formula
  desc "Plan tasks and focus on them"
  homepage "https://tarnwell.example"
  head "file://#{File.expand_path("../..", __dir__)}", using: :git

  depends_on "cmake" => :build
  depends_on "ninja" => :build
  depends_on "pkg-config" => :build
  depends_on "cli11" => :build
  depends_on "simdjson"
  depends_on "uriparser"
  depends_on "utf8proc"

  def install
    system "cmake", "-S", ".", "-B", "build", "-G", "Ninja", "-DBUILD_TESTING=OFF", *std_cmake_args
    system "cmake", "--build", "build"
    system "cmake", "--install", "build", "--component", "runtime"
  end

  test do
    reply = pipe_output("#{bin}/tarnwellctl", '{"version":1,"command":"tasks.list"}')
    assert_match '"ok":true', reply
  end
end
