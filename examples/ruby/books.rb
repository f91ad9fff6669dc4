# Keeps a list of books in a file, in Ruby for Windows, late bound by its library WIN32OLE.
#
#   ruby books.rb

require 'win32ole'
require 'tmpdir'

WIN32OLE.codepage = WIN32OLE::CP_UTF8

# The record. WIN32OLE passes an object of Ruby on as an automation object: a property of it is a
# method that is called without an argument to read it, and with the new value to set it.
class Book
  def initialize(title = '', price = 0.0)
    @title, @price = title, price
  end

  def Title(*value)
    value.empty? ? @title : @title = value.first
  end

  # Restoring brings every value as text, in the user's locale.
  def Price(*value)
    value.empty? ? @price : @price = value.first.tr(',', '.').to_f
  end

  # The fields in the order in which they are written, each under itself as key.
  def GetMemberNames
    names = WIN32OLE.new('Brindlex.clsCollection')
    %w[Title Price].each { |name| names.Add(name, name) }
    names
  end
end

# The creator that the component asks for new books.
class CreateBook
  def GetNewObject
    Book.new
  end
end

# Ends Ruby without its finalizers. They release what is left in any order, and WIN32OLE crashes when it has to
# release an object of Ruby's after its own table of them, whatever component holds that object.
def leave(status)
  $stdout.flush
  exit! status
end

def require_that(holds, what)
  return if holds
  warn "FAILED: #{what}"
  leave 1
end

def listed(list)
  list.each.map { |book| "#{book.Title} costs #{book.Price}" }
end

# Number, source and description of the error that the block raises.
def raised
  yield
  nil
rescue WIN32OLERuntimeError => error
  number, source, description = error.message.match(/code:(\h+) in (.*)\n\s*(.*)/).captures
  puts "Error #{number.hex & 0xFFFF} in #{source}: #{description}"
  [number.hex & 0xFFFF, source, description]
end

books = WIN32OLE.new('Brindlex.clsCollection')
saver = WIN32OLE.new('Brindlex.clsCollectionSaveRestore')
files = WIN32OLE.new('Brindlex.clsAppFiles')
path = File.join(Dir.tmpdir, 'ruby books.txt').tr('/', '\\')

books.Add(Book.new('Moby Dick', 12.5))
books.Add(Book.new('Emma', 9.0))
text = saver.AsDelimitedFromCollection(books)
%w[SaveTextFile SaveTextFileSafely].each do |save|
  require_that files.invoke(save, path, text, false), 'the text is saved'
  require_that files.ReadTextFile(path, false) == text, 'the file holds the text'
  File.delete(path)
end

restored = saver.AsDelimitedToCollection(text, CreateBook.new, 'KeyProperty' => 'Title')
require_that restored, 'the text becomes a list again'
puts listed(restored)
require_that listed(restored) == listed(books), 'every book is as it was'
require_that restored.Item('EMMA').Price == 9.0, 'Emma is found by her key, in any letter case'

bases = WIN32OLE.new('Brindlex.clsBases')
puts "2026 in base 16: #{bases.ConvertDec2Base(2026, 16)}"
require_that bases.ConvertDec2Base(2026, 16) == '7EA', '2026 is 7EA in base 16'
require_that bases.ConvertBase2Dec('7EA', 16) == 2026, 'and back'

# By reference: ARGV holds the arguments after a call, the tolerance as its absolute value.
require_that bases.ConvertDec2Base(2.75, 16, nil, -0.5) == '2.C', '2.75 is 2.C in base 16'
require_that WIN32OLE::ARGV[3] == 0.5, 'the tolerance is written back'

error = raised { restored.Item('no such book') }
require_that error && error.first == 5, 'an absent key is error 5'
error = raised { bases.ConvertBase2Dec('1', 1) }
require_that error == [13, 'ConvertBase2Dec', 'Invalid Base'], 'base 1 is error 13'
puts 'books: done'
leave 0
