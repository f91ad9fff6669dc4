module books

go 1.19
