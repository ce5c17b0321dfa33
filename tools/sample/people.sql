-- Twelve fictitious employees, for the demo and the tests.

INSERT INTO Employee (PersonalID, Name) VALUES
    ('1001', 'Anna Example'),
    ('1002', 'Bert Sample'),
    ('1003', 'Cora Specimen'),
    ('1004', 'Dirk Template'),
    ('1005', 'Emma Fiction'),
    ('1006', 'Finn Pattern'),
    ('1007', 'Gina Placeholder'),
    ('1008', 'Hugo Dummy'),
    ('1009', 'Ida Invented'),
    ('1010', 'Jan Nobody'),
    ('1011', 'Kim Imaginary'),
    ('00123', 'Lea Leadingzero');
